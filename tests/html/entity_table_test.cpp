#include "html/entity_table.h"

#include <gtest/gtest.h>

namespace tackle::html {
namespace {

constexpr auto understood = entity_answer::understood;
constexpr auto unknown = entity_answer::unknown;
constexpr auto unreadable = entity_answer::unreadable;

TEST(read_entity_name, reads_names_and_numbers) {
    const struct {
        const char* label;
        wstring_view name;
        entity_answer answer;
        char16_t unit;
    } cases[] = {
        {"first of the table", u"AElig", understood, 0xC6},
        {"last of the table", u"zwnj", understood, 0x200C},
        {"longest name", u"thetasym", understood, 0x3D1},
        {"not of the standard", u"apos", understood, u'\''},
        {"has the unit of radic", u"notin", understood, 0x221A},
        {"begins with a capital", u"Sigma", understood, 0x3A3},
        {"begins a longer name", u"sigma", understood, 0x3C3},
        {"empty name", u"", unknown, 0},
        {"capitals", u"AMP", unknown, 0},
        {"a letter too few", u"am", unknown, 0},
        {"a letter too many", u"ampx", unknown, 0},
        {"longer than any", u"thetasyma", unknown, 0},
        {"low byte of a letter", u"\u0161mp", unknown, 0},
        {"a zero after the name", wstring_view(u"lt\0", 3), unknown, 0},
        {"decimal", u"#65", understood, u'A'},
        {"decimal ends at a letter", u"#65x9", understood, u'A'},
        {"no digits", u"#y", understood, 0},
        {"a Latin-1 letter is no digit", u"#\u00e9", understood, 0},
        {"2 to the 64th and 65 count by 16 bits", u"#18446744073709551681", understood, 65},
        {"no number", u"#", unknown, 0},
        {"hexadecimal", u"#x4a", understood, u'J'},
        {"hexadecimal in capitals", u"#XFFFE", understood, 0xFFFE},
        {"hexadecimal counts by 16 bits", u"#x123456789abcdef0041", understood, 0x41},
        {"hexadecimal without digits", u"#x", unknown, 0},
        {"hexadecimal with another letter", u"#x4g", unknown, 0},
        {"digits of another script after others", u"#3\u0663", unreadable, 0},
        {"hexadecimal digits of another script", u"#xZ\u0663", unreadable, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const auto value = read_entity_name(c.name);
        EXPECT_EQ(value.answer, c.answer);
        EXPECT_EQ(value.unit, c.unit);
    }
}

} // namespace
} // namespace tackle::html
