#include "foundation/text/leading_number.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"

#include <algorithm>
#include <iterator>

namespace tackle::unicode {

namespace {

struct alias {
    string_view name; // lower case, without "-" and "_"
    std::uint32_t code_page;
};

// Charset names that are no prefix with a number, sorted for the binary search. Some values are not what the name
// promises and are kept, so that a text reads as it always did: isoir6, isoir100 and iso646us are 1252, and the ISCII
// family is shifted by one, with xisciias on a page of another script. utf16, ucs2 and unicode are left out on purpose:
// a text labelled so comes through byte for byte.
constexpr alias charset_aliases[] = {
    {"arabic", 28596},
    {"ascii", raw_code_page},
    {"asmo780", 780},
    {"big5", 950},
    {"cnbig5", 950},
    {"cngb", 936},
    {"csbig5", 950},
    {"cseuccn", 51936},
    {"cseucjp", 51932},
    {"cseuckr", 51949},
    {"csgb2312", 936},
    {"csgb231280", 936},
    {"csiso2022jp", 50221},
    {"csiso58gb231280", 936},
    {"csisolatinarabic", 28596},
    {"csisolatincyrillic", 28595},
    {"csisolatingreek", 28597},
    {"csisolatinhebrew", 28598},
    {"csksc5601", 949},
    {"csksc56011987", 949},
    {"csshiftjis", 932},
    {"cswindows31j", 932},
    {"cyrillic", 28595},
    {"ecma114", 28596},
    {"ecma118", 28597},
    {"elot928", 28597},
    {"euccn", 51936},
    {"eucjp", 51932},
    {"euckr", 51949},
    {"gb18030", 54936},
    {"gb2312", 936},
    {"gb231280", 936},
    {"gbk", 936},
    {"greek", 28597},
    {"greek8", 28597},
    {"hebrew", 28598},
    {"hzgb2312", 52936},
    {"iso2022jp", 50221},
    {"iso646us", 1252},
    {"iso88598i", 38598},
    {"isoir100", 1252},
    {"isoir101", 28592},
    {"isoir110", 28594},
    {"isoir126", 28597},
    {"isoir127", 28596},
    {"isoir138", 28598},
    {"isoir144", 28595},
    {"isoir148", 1254},
    {"isoir149", 949},
    {"isoir58", 936},
    {"isoir6", 1252},
    {"johab", 1361},
    {"koi", 20866},
    {"koi8", 20866},
    {"koi8r", 20866},
    {"koi8ru", 21866},
    {"koi8u", 21866},
    {"korean", 949},
    {"ksc5601", 949},
    {"ksc56011987", 949},
    {"logical", 38598},
    {"macintosh", 10000},
    {"mskanji", 932},
    {"shiftjis", 932},
    {"tis620", 874},
    {"unicode11utf7", 65000},
    {"unicode11utf8", 65001},
    {"unicode20utf7", 65000},
    {"unicode20utf8", 65001},
    {"usascii", raw_code_page},
    {"utf7", 65000},
    {"utf8", 65001},
    {"visual", 28598},
    {"xchinesecns", 20000},
    {"xchineseeten", 20002},
    {"xcseuckr", 51949},
    {"xeuccn", 51936},
    {"xeucjp", 51932},
    {"xeuropa", 29001},
    {"xia5german", 20106},
    {"xia5norwegian", 20108},
    {"xia5swedish", 20107},
    {"xisciias", 10079},
    {"xisciibe", 57006},
    {"xisciide", 57003},
    {"xisciigu", 57010},
    {"xisciika", 57008},
    {"xisciima", 57009},
    {"xisciior", 57007},
    {"xisciipa", 57011},
    {"xisciita", 57004},
    {"xisciite", 57005},
    {"xmacarabic", 10004},
    {"xmacce", 10029},
    {"xmacchinesesimp", 52936},
    {"xmacchinesetrad", 10002},
    {"xmaccyrillic", 10007},
    {"xmacgreek", 10006},
    {"xmachebrew", 10005},
    {"xmacicelandic", 10079},
    {"xmacjapanese", 10001},
    {"xmackorean", 10003},
    {"xsjis", 932},
    {"xxbig5", 950},
};
static_assert(std::size(charset_aliases) == 104);
static_assert(std::ranges::adjacent_find(charset_aliases, std::ranges::greater_equal{}, &alias::name) ==
              std::end(charset_aliases));

struct prefix {
    string_view text;
    std::uint32_t base; // what the number behind the prefix is added to
};

// The first one that fits counts.
constexpr prefix numbered_prefixes[] = {
    {"iso8859", 28590}, {"latin", 28590}, {"csisolatin", 28590}, {"windows", 0}, {"dos", 0}, {"ibm", 0}, {"cp", 0},
};

struct page_name {
    std::uint32_t code_page;
    string_view name;
};

constexpr page_name code_page_names[] = {
    {31, "IBM037"},
    {437, "IBM437"},
    {500, "IBM500"},
    {708, "ASMO-708"},
    {720, "DOS-720"},
    {737, "ibm737"},
    {775, "ibm775"},
    {850, "ibm850"},
    {852, "ibm852"},
    {855, "IBM855"},
    {857, "ibm857"},
    {858, "IBM00858"},
    {860, "IBM860"},
    {861, "ibm861"},
    {862, "DOS-862"},
    {863, "IBM863"},
    {864, "IBM864"},
    {865, "IBM865"},
    {866, "cp866"},
    {869, "ibm869"},
    {870, "IBM870"},
    {874, "windows-874"},
    {875, "cp875"},
    {932, "shift_jis"},
    {936, "gb2312"},
    {949, "ks_c_5601-1987"},
    {950, "big5"},
    {1026, "IBM1026"},
    {1047, "IBM01047"},
    {1140, "IBM01140"},
    {1141, "IBM01141"},
    {1142, "IBM01142"},
    {1143, "IBM01143"},
    {1144, "IBM01144"},
    {1145, "IBM01145"},
    {1146, "IBM01146"},
    {1147, "IBM01147"},
    {1148, "IBM01148"},
    {1149, "IBM01149"},
    {1200, "utf-16"},
    {1201, "unicodeFFFE"},
    {1250, "windows-1250"},
    {1251, "windows-1251"},
    {1252, "windows-1252"},
    {1253, "windows-1253"},
    {1254, "windows-1254"},
    {1255, "windows-1255"},
    {1256, "windows-1256"},
    {1257, "windows-1257"},
    {1258, "windows-1258"},
    {1361, "Johab"},
    {10000, "macintosh"},
    {10001, "x-mac-japanese"},
    {10002, "x-mac-chinesetrad"},
    {10003, "x-mac-korean"},
    {10004, "x-mac-arabic"},
    {10005, "x-mac-hebrew"},
    {10006, "x-mac-greek"},
    {10007, "x-mac-cyrillic"},
    {10008, "x-mac-chinesesimp"},
    {10010, "x-mac-romanian"},
    {10017, "x-mac-ukrainian"},
    {10021, "x-mac-thai"},
    {10029, "x-mac-ce"},
    {10079, "x-mac-icelandic"},
    {10081, "x-mac-turkish"},
    {10082, "x-mac-croatian"},
    {12000, "utf-32"},
    {12001, "utf-32BE"},
    {20000, "x-Chinese_CNS"},
    {20001, "x-cp20001"},
    {20002, "x_Chinese-Eten"},
    {20003, "x-cp20003"},
    {20004, "x-cp20004"},
    {20005, "x-cp20005"},
    {20105, "x-IA5"},
    {20106, "x-IA5-German"},
    {20107, "x-IA5-Swedish"},
    {20108, "x-IA5-Norwegian"},
    {20127, "us-ascii"},
    {20261, "x-cp20261"},
    {20269, "x-cp20269"},
    {20273, "IBM273"},
    {20277, "IBM277"},
    {20278, "IBM278"},
    {20280, "IBM280"},
    {20284, "IBM284"},
    {20285, "IBM285"},
    {20290, "IBM290"},
    {20297, "IBM297"},
    {20420, "IBM420"},
    {20423, "IBM423"},
    {20424, "IBM424"},
    {20833, "x-EBCDIC-KoreanExtended"},
    {20838, "IBM-Thai"},
    {20866, "koi8-r"},
    {20871, "IBM871"},
    {20880, "IBM880"},
    {20905, "IBM905"},
    {20924, "IBM00924"},
    {20932, "EUC-JP"},
    {20936, "x-cp20936"},
    {20949, "x-cp20949"},
    {21025, "cp1025"},
    {21866, "koi8-u"},
    {28591, "iso-8859-1"},
    {28592, "iso-8859-2"},
    {28593, "iso-8859-3"},
    {28594, "iso-8859-4"},
    {28595, "iso-8859-5"},
    {28596, "iso-8859-6"},
    {28597, "iso-8859-7"},
    {28598, "iso-8859-8"},
    {28599, "iso-8859-9"},
    {28603, "iso-8859-13"},
    {28605, "iso-8859-15"},
    {29001, "x-Europa"},
    {38598, "iso-8859-8-i"},
    {50220, "iso-2022-jp"},
    {50221, "csISO2022JP"},
    {50222, "iso-2022-jp"},
    {50225, "iso-2022-kr"},
    {50227, "x-cp50227"},
    {51932, "euc-jp"},
    {51936, "EUC-CN"},
    {51949, "euc-kr"},
    {52936, "hz-gb-2312"},
    {54936, "GB18030"},
    {57002, "x-iscii-de"},
    {57003, "x-iscii-be"},
    {57004, "x-iscii-ta"},
    {57005, "x-iscii-te"},
    {57006, "x-iscii-as"},
    {57007, "x-iscii-or"},
    {57008, "x-iscii-ka"},
    {57009, "x-iscii-ma"},
    {57010, "x-iscii-gu"},
    {57011, "x-iscii-pa"},
    {65000, "utf-7"},
    {65001, "utf-8"},
};
static_assert(std::size(code_page_names) == 140);
static_assert(std::ranges::adjacent_find(code_page_names, std::ranges::greater_equal{}, &page_name::code_page) ==
              std::end(code_page_names));

} // namespace

std::uint32_t code_page_of(string_view name) {
    string folded; // the names of real mail fit without an allocation
    for (const char c : name)
        if (c != '-' && c != '_') folded += lower_letter(c);
    const auto* const found = std::ranges::lower_bound(charset_aliases, string_view(folded), {}, &alias::name);
    if (found != std::end(charset_aliases) && found->name == folded) return found->code_page;
    for (const auto& [text, base] : numbered_prefixes) {
        if (!folded.starts_with(text)) continue;
        // The value that a text variant reads as an integer, at most 2^31 - 1: no sum can wrap into another page.
        return base + static_cast<std::uint32_t>(leading_number<std::int32_t>(string_view(folded).substr(text.size())));
    }
    return raw_code_page;
}

string code_page_name(std::uint32_t code_page) {
    const auto* const found = std::ranges::lower_bound(code_page_names, code_page, {}, &page_name::code_page);
    if (found == std::end(code_page_names) || found->code_page != code_page)
        throw invalid_codepage(format("codepage %d is not supported", code_page));
    return string(found->name);
}

} // namespace tackle::unicode
