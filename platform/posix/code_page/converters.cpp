#include "platform/posix/code_page/converters.h"

#include <algorithm>
#include <iterator>
#include <unicode/uclean.h>

namespace tackle::platform {
namespace {

using enum page_kind;

// Sorted for the binary search. Where ICU has several versions of a page, the row names the one whose bytes mean the
// same as on Windows; the generated tables do the rest. ISCII pages differ by the script that bytes stand for.
constexpr converter_row converters[] = {
    {37, single_byte, false, "ibm-37_P100-1995"},
    {437, single_byte, true, "ibm-437_P100-1995"},
    {500, single_byte, false, "ibm-500_P100-1995"},
    {708, single_byte, true, "US-ASCII"},
    {720, single_byte, true, "ibm-720_P100-1997"},
    {737, single_byte, true, "ibm-737_P100-1997"},
    {775, single_byte, true, "ibm-775_P100-1996"},
    {850, single_byte, true, "ibm-850_P100-1995"},
    {852, single_byte, true, "ibm-852_P100-1995"},
    {855, single_byte, true, "ibm-855_P100-1995"},
    {857, single_byte, true, "ibm-857_P100-1995"},
    {858, single_byte, true, "ibm-858_P100-1997"},
    {860, single_byte, true, "ibm-860_P100-1995"},
    {861, single_byte, true, "ibm-861_P100-1995"},
    {862, single_byte, true, "ibm-862_P100-1995"},
    {863, single_byte, true, "ibm-863_P100-1995"},
    {864, single_byte, true, "ibm-864_X110-1999"},
    {865, single_byte, true, "ibm-865_P100-1995"},
    {866, single_byte, true, "ibm-866_P100-1995"},
    {869, single_byte, true, "ibm-869_P100-1995"},
    {870, single_byte, false, "ibm-870_P100-1995"},
    {874, single_byte, true, "ibm-1162_P100-1999"},
    {875, single_byte, false, "ibm-875_P100-1995"},
    {932, double_byte, true, "ibm-943_P15A-2003"},
    {936, double_byte, true, "windows-936-2000"},
    {949, double_byte, true, "windows-949-2000"},
    {950, double_byte, true, "windows-950-2000"},
    {1026, single_byte, false, "ibm-1026_P100-1995"},
    {1047, single_byte, false, "ibm-1047_P100-1995"},
    {1140, single_byte, false, "ibm-1140_P100-1997"},
    {1141, single_byte, false, "ibm-1141_P100-1997"},
    {1142, single_byte, false, "ibm-1142_P100-1997"},
    {1143, single_byte, false, "ibm-1143_P100-1997"},
    {1144, single_byte, false, "ibm-1144_P100-1997"},
    {1145, single_byte, false, "ibm-1145_P100-1997"},
    {1146, single_byte, false, "ibm-1146_P100-1997"},
    {1147, single_byte, false, "ibm-1147_P100-1997"},
    {1148, single_byte, false, "ibm-1148_P100-1997"},
    {1149, single_byte, false, "ibm-1149_P100-1997"},
    {1250, single_byte, true, "ibm-5346_P100-1998"},
    {1251, single_byte, true, "ibm-5347_P100-1998"},
    {1252, single_byte, true, "ibm-5348_P100-1997"},
    {1253, single_byte, true, "ibm-5349_P100-1998"},
    {1254, single_byte, true, "ibm-5350_P100-1998"},
    {1255, single_byte, true, "ibm-9447_P100-2002"},
    {1256, single_byte, true, "ibm-9448_X100-2005"},
    {1257, single_byte, true, "ibm-9449_P100-2002"},
    {1258, single_byte, true, "ibm-5354_P100-1998"},
    {1361, johab, true, "windows-949-2000"},
    {10000, single_byte, true, "macos-0_2-10.2"},
    {10001, double_byte, true, "ibm-943_P15A-2003"},
    {10002, double_byte, true, "windows-950-2000"},
    {10003, double_byte, true, "ibm-970_P110_P110-2006_U2"},
    {10004, single_byte, true, "US-ASCII"},
    {10005, single_byte, true, "US-ASCII"},
    {10006, single_byte, true, "macos-6_2-10.4"},
    {10007, single_byte, true, "macos-7_3-10.2"},
    {10008, double_byte, true, "ibm-1383_P110-1999"},
    {10010, single_byte, true, "macos-0_2-10.2"},
    {10017, single_byte, true, "macos-7_3-10.2"},
    {10021, single_byte, true, "US-ASCII"},
    {10029, single_byte, true, "macos-29-10.2"},
    {10079, single_byte, true, "macos-0_2-10.2"},
    {10081, single_byte, true, "macos-35-10.2"},
    {10082, single_byte, true, "macos-0_2-10.2"},
    {20000, double_byte, true, "ibm-964_P110-1999", "\x8E\xA2"},
    {20001, single_byte, true, "US-ASCII"},
    {20002, double_byte, true, "windows-950-2000"},
    {20003, single_byte, true, "US-ASCII"},
    {20004, single_byte, true, "US-ASCII"},
    {20005, single_byte, true, "US-ASCII"},
    {20105, single_byte, true, "US-ASCII"},
    {20106, single_byte, true, "US-ASCII"},
    {20107, single_byte, true, "US-ASCII"},
    {20108, single_byte, true, "US-ASCII"},
    {20127, single_byte, true, "US-ASCII"},
    {20261, double_byte, true, "US-ASCII"},
    {20269, single_byte, true, "US-ASCII"},
    {20273, single_byte, false, "ibm-273_P100-1995"},
    {20277, single_byte, false, "ibm-277_P100-1995"},
    {20278, single_byte, false, "ibm-278_P100-1995"},
    {20280, single_byte, false, "ibm-280_P100-1995"},
    {20284, single_byte, false, "ibm-284_P100-1995"},
    {20285, single_byte, false, "ibm-285_P100-1995"},
    {20290, single_byte, false, "ibm-290_P100-1995"},
    {20297, single_byte, false, "ibm-297_P100-1995"},
    {20420, single_byte, false, "ibm-420_X120-1999"},
    {20423, single_byte, false, "ibm-875_P100-1995"},
    {20424, single_byte, false, "ibm-424_P100-1995"},
    {20833, single_byte, false, "ibm-933_P110-1995"},
    {20838, single_byte, false, "ibm-838_P100-1995"},
    {20866, single_byte, true, "ibm-878_P100-1996"},
    {20871, single_byte, false, "ibm-871_P100-1995"},
    {20880, single_byte, false, "ibm-1025_P100-1995"},
    {20905, single_byte, false, "ibm-1026_P100-1995"},
    {20924, single_byte, false, "ibm-1047_P100-1995"},
    {20932, double_byte, true, "ibm-954_P101-2007", "\x8F"},
    {20936, double_byte, true, "ibm-1383_P110-1999"},
    {20949, double_byte, true, "ibm-970_P110_P110-2006_U2"},
    {21025, single_byte, false, "ibm-1025_P100-1995"},
    {21866, single_byte, true, "ibm-1168_P100-2002"},
    {28591, single_byte, true, "ISO-8859-1"},
    {28592, single_byte, true, "ibm-912_P100-1995"},
    {28593, single_byte, true, "ibm-913_P100-2000"},
    {28594, single_byte, true, "ibm-914_P100-1995"},
    {28595, single_byte, true, "ibm-915_P100-1995"},
    {28596, single_byte, true, "ibm-1089_P100-1995"},
    {28597, single_byte, true, "ibm-813_P100-1995"},
    {28598, single_byte, true, "ibm-916_P100-1995"},
    {28599, single_byte, true, "ibm-920_P100-1995"},
    {28603, single_byte, true, "ibm-921_P100-1995"},
    {28605, single_byte, true, "ibm-923_P100-1998"},
    {29001, single_byte, true, "US-ASCII"},
    {50220, sequence, true, "ISO_2022,locale=ja,version=3"},
    {50221, sequence, true, "ISO_2022,locale=ja,version=3"},
    {50222, sequence, true, "ISO_2022,locale=ja,version=3"},
    {50225, sequence, true, "ISO_2022,locale=ko,version=0"},
    {50227, sequence, true, "ISO_2022,locale=zh,version=0"},
    {51932, sequence, true, "euc-jp-2007"},
    {52936, sequence, true, "HZ"},
    {54936, sequence, true, "gb18030"},
    {57002, sequence, true, "ISCII,version=0"},
    {57003, sequence, true, "ISCII,version=1"},
    {57004, sequence, true, "ISCII,version=5"},
    {57005, sequence, true, "ISCII,version=6"},
    {57006, sequence, true, "ISCII,version=1"},
    {57007, sequence, true, "ISCII,version=4"},
    {57008, sequence, true, "ISCII,version=7"},
    {57009, sequence, true, "ISCII,version=8"},
    {57010, sequence, true, "ISCII,version=3"},
    {57011, sequence, true, "ISCII,version=2"},
};
static_assert(std::ranges::is_sorted(converters, {}, &converter_row::code_page));

// ICU looks for its data once, and if memory fails it at that moment no converter opens any more in this process. So
// that is done while the library loads, where it costs less than 0.1 ms and a lack of memory is nothing to recover
// from.
const UErrorCode converter_data = [] {
    UErrorCode error = U_ZERO_ERROR;
    u_init(&error);
    return error;
}();

} // namespace

std::span<const converter_row> converter_rows() { return converters; }

const converter_row* find_converter(std::uint32_t code_page) {
    const auto* const found = std::ranges::lower_bound(converters, code_page, {}, &converter_row::code_page);
    return found != std::end(converters) && found->code_page == code_page ? found : nullptr;
}

} // namespace tackle::platform
