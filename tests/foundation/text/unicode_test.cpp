#include "foundation/exception_w.h"
#include "foundation/text/unicode.h"

#include <gtest/gtest.h>

namespace tackle::unicode {
namespace {

// The table goes before the prefixes. Numbers are read as atoi does: blanks and a sign before, no digits of others.
TEST(charset_names, are_read_in_any_spelling) {
    const struct {
        std::uint32_t code_page;
        std::vector<string> names;
    } cases[] = {
        {raw_code_page, {"", "us_ascii", "UTF-16", " utf-8"}},
        {65001, {"--u_t-f8--" + string(1000, '-')}},
        {1252, {"CP1252", "IBM-1252", "DOS-1252"}},
        {28591, {"ISO_8859-1:1987", "latin1", "csISOLatin1"}},
        {28605, {"iso-8859-15"}},
        {38598, {"iso-8859-8-i"}},
        {950, {"xxbig5"}},
        {28596, {"arabic"}},
        {0, {"cp", "cp0x10"}},
        {28590, {"latinx"}},
        {1251, {"windows 1251"}},
        {437, {"cp+437"}},
        {2147483647, {"cp4294968548"}},
        {2147512237, {"latin99999999999999999999999"}},
    };
    for (const auto& c : cases)
        for (const auto& name : c.names)
            EXPECT_EQ(code_page_of(name), c.code_page) << name;
}

TEST(code_page_name, knows_its_table_only) {
    EXPECT_EQ(code_page_name(31), "IBM037"); // under this number, and not under 37
    EXPECT_EQ(code_page_name(1201), "unicodeFFFE");
    EXPECT_EQ(code_page_name(65001), "utf-8");
    try {
        EXPECT_EQ(code_page_name(raw_code_page), "none");
    } catch (const invalid_codepage& error) {
        EXPECT_STREQ(error.what(), "unicode.invalid_codepage[codepage -1 is not supported]");
    }
}

// What each code page makes of bytes and units is platform/code_page's; here are the rules above it.
TEST(unicode, converts_both_ways) {
    const struct {
        const char* label;
        std::uint32_t code_page;
        string bytes;
        wstring units;
    } cases[] = {
        {"raw", raw_code_page, string("\x00\x7F\x80\xE9\xFF", 5), wstring(u"\0\u007f\u0080\u00e9\u00ff", 5)},
        {"no text in a page that nobody has", 9999, "", u""},
        {"the system's own", 0, "abc", u"abc"},
        {"western", 1252, "a\x80\xE9", u"a\u20ac\u00e9"},
        {"Japanese", 932, "\x93\xFA\xB1", u"\u65e5\uff71"},
        {"UTF-8", 65001, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00e9\u20ac\U0001F600"},
        {"UTF-7", 65000, "+AOk-", u"\u00e9"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(to_wide(c.bytes, c.code_page), c.units);
        EXPECT_EQ(to_narrow(c.units, c.code_page, true), c.bytes);
    }
    EXPECT_EQ(recode("\x80", 1252, 65001), "\xE2\x82\xAC");
}

TEST(unicode, replaces_or_refuses_what_does_not_fit) {
    EXPECT_EQ(to_wide("a\x81z\xE2\x82", 65001), u"a\ufffdz\ufffd");
    EXPECT_EQ(to_narrow(u"\xD83Dz", 65001, true), "\xEF\xBF\xBDz");
    EXPECT_EQ(to_narrow(u"\u4f60.", 1252, false), "?.");
    EXPECT_THROW((void)to_wide("\x81", 932), unmappable_character);
    EXPECT_THROW((void)to_narrow(u"\u4f60", 1252, true), unmappable_character);
    EXPECT_THROW((void)recode("\xE2\x82\xAC", 65001, 28591), unmappable_character);
    EXPECT_THROW((void)to_wide("a", 50220), generic); // refused, since Windows refuses it
    EXPECT_THROW((void)to_narrow(u"a", 50220, false), unmappable_character);
    EXPECT_THROW((void)to_wide("a", 2147512237), invalid_codepage);
    EXPECT_THROW((void)to_narrow(u"a", 9999, false), invalid_codepage);
}

// Raw text goes in blocks: each unit has to be seen at every place of one.
TEST(raw_code_page, is_the_same_at_every_place_of_a_block) {
    for (std::size_t at = 0; at < 40; ++at) {
        string bytes(40, 'x');
        wstring units(40, u'x');
        bytes[at] = '\x80';
        units[at] = u'\u0080';
        EXPECT_EQ(to_wide(bytes, raw_code_page), units);
        EXPECT_EQ(to_narrow(units, raw_code_page, true), bytes);
        units[at] = u'\u0100';
        bytes[at] = '?';
        EXPECT_EQ(to_narrow(units, raw_code_page, false), bytes);
        EXPECT_THROW((void)to_narrow(units, raw_code_page, true), unmappable_character);
    }
}

TEST(round_trips, only_what_comes_back_the_same) {
    EXPECT_TRUE(round_trips(u"\u20ac", 1252));
    EXPECT_TRUE(round_trips(u"", 9999));
    EXPECT_FALSE(round_trips(u"\u4f60", 1252));
    EXPECT_FALSE(round_trips(u"a", 9999));
    EXPECT_FALSE(round_trips(u"a", 50220)); // and no exception
    EXPECT_FALSE(round_trips(u"\xDC00", 65001));
}

class late final : public exception_w {
public:
    explicit late(const wstring& text) : exception_w(text) { append_code_w(u"first"); }
    void add_word() { append_code_w(u"second"); }
};

TEST(exception_w, narrows_once) {
    late error(u"text \u4f60");
    EXPECT_STREQ(error.what(), "first[text ?]");
    error.add_word();
    EXPECT_EQ(wstring(error.what_w()), u"first.second[text \u4f60]");
    EXPECT_STREQ(error.what(), "first[text ?]");
    EXPECT_STREQ(exception_w(u"%s %d", u"wide", 5).message(), "wide 5");
}

} // namespace
} // namespace tackle::unicode
