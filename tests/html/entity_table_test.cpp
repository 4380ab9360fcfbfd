#include "html/entity_table.h"

#include <gtest/gtest.h>

namespace tackle::html {
namespace {

TEST(find_entity, knows_latin_1_in_the_order_of_the_standard) {
    const wstring_view names[] = {
        u"nbsp",   u"iexcl",  u"cent",   u"pound",  u"curren", u"yen",    u"brvbar", u"sect",   u"uml",    u"copy",
        u"ordf",   u"laquo",  u"not",    u"shy",    u"reg",    u"macr",   u"deg",    u"plusmn", u"sup2",   u"sup3",
        u"acute",  u"micro",  u"para",   u"middot", u"cedil",  u"sup1",   u"ordm",   u"raquo",  u"frac14", u"frac12",
        u"frac34", u"iquest", u"Agrave", u"Aacute", u"Acirc",  u"Atilde", u"Auml",   u"Aring",  u"AElig",  u"Ccedil",
        u"Egrave", u"Eacute", u"Ecirc",  u"Euml",   u"Igrave", u"Iacute", u"Icirc",  u"Iuml",   u"ETH",    u"Ntilde",
        u"Ograve", u"Oacute", u"Ocirc",  u"Otilde", u"Ouml",   u"times",  u"Oslash", u"Ugrave", u"Uacute", u"Ucirc",
        u"Uuml",   u"Yacute", u"THORN",  u"szlig",  u"agrave", u"aacute", u"acirc",  u"atilde", u"auml",   u"aring",
        u"aelig",  u"ccedil", u"egrave", u"eacute", u"ecirc",  u"euml",   u"igrave", u"iacute", u"icirc",  u"iuml",
        u"eth",    u"ntilde", u"ograve", u"oacute", u"ocirc",  u"otilde", u"ouml",   u"divide", u"oslash", u"ugrave",
        u"uacute", u"ucirc",  u"uuml",   u"yacute", u"thorn",  u"yuml"};
    char16_t expected = 0xA0;
    for (const auto name : names)
        EXPECT_EQ(find_entity(name), expected++) << name.size();
    EXPECT_EQ(expected, 0x100);
}

struct name_case {
    wstring_view name;
    std::optional<char16_t> unit;
};

const name_case name_cases[] = {
    {u"quot", u'"'},
    {u"amp", u'&'},
    {u"lt", u'<'},
    {u"gt", u'>'},
    {u"apos", u'\''},
    {u"Alpha", 0x391},
    {u"Sigma", 0x3A3},
    {u"sigmaf", 0x3C2},
    {u"sigma", 0x3C3},
    {u"thetasym", 0x3D1},
    {u"bull", 0x2022},
    {u"Prime", 0x2033},
    {u"prime", 0x2032},
    {u"euro", 0x20AC},
    {u"image", 0x2111},
    {u"alefsym", 0x2135},
    {u"hArr", 0x21D4},
    {u"isin", 0x2208},
    {u"radic", 0x221A},
    {u"notin", 0x221A},
    {u"ni", 0x220B},
    {u"sdot", 0x22C5},
    {u"lang", 0x2329},
    {u"rang", 0x232A},
    {u"diams", 0x2666},
    {u"zwnj", 0x200C},
    {u"Yuml", 0x178},
    {u"fnof", 0x192},
    {u"trade", 0x2122},
    {u"zeta", 0x3B6},
    {u"", std::nullopt},
    {u"AMP", std::nullopt},
    {u"am", std::nullopt},
    {u"ampx", std::nullopt},
    {u"thetasyma", std::nullopt},
    {u"\u0161mp", std::nullopt},
    {wstring_view(u"lt\0", 3), std::nullopt},
};

TEST(find_entity, compares_the_whole_name) {
    for (const auto& c : name_cases)
        EXPECT_EQ(find_entity(c.name), c.unit) << string(c.name.begin(), c.name.end());
}

struct number_case {
    const char* label;
    wstring_view name;
    entity_answer answer;
    char16_t unit;
};

const number_case number_cases[] = {
    {"decimal", u"#65", entity_answer::understood, u'A'},
    {"leading digits", u"#65x9", entity_answer::understood, u'A'},
    {"no digits", u"#y", entity_answer::understood, 0},
    {"a Latin-1 letter is no digit", u"#\u00e9", entity_answer::understood, 0},
    {"low 16 bits", u"#65601", entity_answer::understood, 65},
    {"2 to the 64th and 65", u"#18446744073709551681", entity_answer::understood, 65},
    {"no number", u"#", entity_answer::unknown, 0},
    {"hexadecimal", u"#x4a", entity_answer::understood, u'J'},
    {"in capitals", u"#XFFFE", entity_answer::understood, 0xFFFE},
    {"low 16 bits of a long one", u"#x123456789abcdef0041", entity_answer::understood, 0x41},
    {"hexadecimal without digits", u"#x", entity_answer::unknown, 0},
    {"hexadecimal with another letter", u"#x4g", entity_answer::unknown, 0},
    {"digits of another script", u"#\u0663", entity_answer::unreadable, 0},
    {"behind other digits", u"#3\u0663", entity_answer::unreadable, 0},
    {"hexadecimal ones", u"#xZ\u0663", entity_answer::unreadable, 0},
};

TEST(read_entity_name, reads_numbers) {
    for (const auto& c : number_cases) {
        SCOPED_TRACE(c.label);
        const auto value = read_entity_name(c.name);
        EXPECT_EQ(value.answer, c.answer);
        EXPECT_EQ(value.unit, c.unit);
    }
}

} // namespace
} // namespace tackle::html
