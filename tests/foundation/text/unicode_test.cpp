#include "foundation/exception_w.h"
#include "foundation/text/unicode.h"

#include <gtest/gtest.h>

namespace tackle::unicode {
namespace {

TEST(charset_names, are_read_in_any_spelling) {
    const struct {
        string name;
        std::uint32_t expected;
    } cases[] = {
        {"", raw_code_page},
        {"US-ASCII", raw_code_page},
        {"us_ascii", raw_code_page},
        {"x-unknown", raw_code_page},
        {"UTF-16", raw_code_page},
        {" utf-8", raw_code_page}, // blanks stay
        {"UTF-8", 65001},
        {"Utf_8", 65001},
        {"--u_t-f8--" + string(1000, '-'), 65001},
        {"UTF-7", 65000},
        {"Windows-1252", 1252},
        {"CP1252", 1252},
        {"IBM-1252", 1252},
        {"DOS-1252", 1252},
        {"ISO-8859-1", 28591},
        {"ISO_8859-1:1987", 28591},
        {"iso-8859-15", 28605},
        {"latin1", 28591},
        {"csISOLatin1", 28591},
        {"iso-8859-8-i", 38598}, // the table goes before the prefixes
        {"csISOLatinArabic", 28596},
        {"iso-ir-100", 1252},
        {"iso-ir-101", 28592},
        {"x-iscii-as", 10079},
        {"x-iscii-be", 57006},
        {"ks_c_5601-1987", 949},
        {"HZ-GB-2312", 52936},
        {"xxbig5", 950}, // the last of the table
        {"xxcode", raw_code_page},
        {"arabic", 28596}, // the first
        {"cp", 0},
        {"latinx", 28590},
        {"windows 1251", 1251}, // read as atoi does: blanks and a sign before, no digits of others
        {"cp+437", 437},
        {"cp0x10", 0},
        {"cp2147483647", 2147483647},
        {"cp2147483648", 2147483647},
        {"cp4294967295", 2147483647}, // would be raw_code_page
        {"cp4294968548", 2147483647}, // 2^32 + 1252
        {"latin99999999999999999999999", 2147512237},
    };
    for (const auto& c : cases)
        EXPECT_EQ(code_page_of(c.name), c.expected) << c.name;
}

TEST(code_page_name, knows_its_table_only) {
    EXPECT_EQ(code_page_name(31), "IBM037"); // under this number, and not under 37
    EXPECT_EQ(code_page_name(1201), "unicodeFFFE");
    EXPECT_EQ(code_page_name(57002), "x-iscii-de");
    EXPECT_EQ(code_page_name(65001), "utf-8");
    for (const auto& [code_page, message] : {std::pair{0U, "codepage 0 is not supported"},
                                             {65002U, "codepage 65002 is not supported"},
                                             {raw_code_page, "codepage -1 is not supported"}}) {
        try {
            EXPECT_EQ(code_page_name(code_page), "none");
        } catch (const invalid_codepage& error) {
            EXPECT_STREQ(error.message(), message);
        }
    }
}

TEST(to_wide, reads_code_pages) {
    const struct {
        const char* label;
        std::uint32_t code_page;
        string bytes;
        wstring expected;
    } cases[] = {
        {"raw", raw_code_page, string("\x00\x7F\x80\xE9\xFF", 5), wstring(u"\0\u007f\u0080\u00e9\u00ff", 5)},
        {"empty", 9999, "", u""},
        {"western", 1252, "a\x80\xE9", u"a\u20ac\u00e9"},
        {"the system's own takes ascii", 0, "abc", u"abc"},
        {"cyrillic", 20866, "\xC1", u"\u0430"},
        {"japanese", 932, "\x93\xFA\xB1", u"\u65e5\uff71"},
        {"simplified chinese", 936, "\xC4\xE3", u"\u4f60"},
        {"utf-8", 65001, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00e9\u20ac\U0001F600"},
        {"utf-8 replaces", 65001, "a\x81z", u"a\ufffdz"},
        {"utf-8 ends inside a sequence", 65001, "a\xE2\x82", u"a\ufffd"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(to_wide(c.bytes, c.code_page), c.expected);
    }
    EXPECT_THROW((void)to_wide("\x81", 932), unmappable_character);
    EXPECT_THROW((void)to_wide("a", 50220), generic);
    EXPECT_THROW((void)to_wide("a", 9999), invalid_codepage);
    EXPECT_THROW((void)to_wide("a", 2147512237), invalid_codepage);
}

TEST(to_narrow, writes_code_pages) {
    const struct {
        const char* label;
        std::uint32_t code_page;
        wstring units;
        bool strict;
        string expected;
    } cases[] = {
        {"raw", raw_code_page, wstring(u"\0\u00e9\u00ff", 3), true, string("\0\xE9\xFF", 3)},
        {"raw without a place", raw_code_page, u"\u0100\u20ac.", false, "??."},
        {"empty", 9999, u"", true, ""},
        {"western", 1252, u"\u20ac\u00e9", true, "\x80\xE9"},
        {"western without a place", 1252, u"\u4f60.", false, "?."},
        {"japanese", 932, u"\u65e5a", true, "\x93\xFA\x61"},
        {"utf-8", 65001, u"\u00e9\u20ac\U0001F600", true, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"utf-8 replaces also if strict", 65001, u"\xD83Dz", true, "\xEF\xBF\xBDz"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(to_narrow(c.units, c.code_page, c.strict), c.expected);
    }
    EXPECT_THROW((void)to_narrow(u"a\u0100", raw_code_page, true), unmappable_character);
    EXPECT_THROW((void)to_narrow(u"\u4f60", 1252, true), unmappable_character);
    EXPECT_THROW((void)to_narrow(u"a", 50220, false), unmappable_character);
    EXPECT_THROW((void)to_narrow(u"a", 9999, false), invalid_codepage);
}

// Raw text goes in blocks: each unit has to be seen wherever it stands.
TEST(raw_code_page, is_the_same_at_every_place_of_a_block) {
    for (std::size_t at = 0; at < 40; ++at) {
        string bytes(40, 'x');
        wstring units(40, u'x');
        bytes[at] = '\x80';
        units[at] = u'\u0080';
        EXPECT_EQ(to_wide(bytes, raw_code_page), units);
        EXPECT_EQ(to_narrow(units, raw_code_page, true), bytes);
        units[at] = u'\u8000';
        bytes[at] = '?';
        EXPECT_EQ(to_narrow(units, raw_code_page, false), bytes);
        EXPECT_THROW((void)to_narrow(units, raw_code_page, true), unmappable_character);
    }
}

TEST(recode, is_strict) {
    EXPECT_EQ(recode("\x80", 1252, 65001), "\xE2\x82\xAC");
    EXPECT_THROW((void)recode("\xE2\x82\xAC", 65001, 28591), unmappable_character);
}

TEST(round_trips, only_what_comes_back_the_same) {
    EXPECT_TRUE(round_trips(u"\u20ac", 1252));
    EXPECT_TRUE(round_trips(u"", 9999));
    EXPECT_FALSE(round_trips(u"\u4f60", 1252));
    EXPECT_FALSE(round_trips(u"\u0100", raw_code_page));
    EXPECT_FALSE(round_trips(u"a", 9999));
    EXPECT_FALSE(round_trips(u"a", 50220)); // and no exception
    EXPECT_FALSE(round_trips(u"\xDC00", 65001));
}

TEST(unicode_exceptions, have_a_code_and_no_message) {
    try {
        (void)to_wide("a", 9999);
        FAIL();
    } catch (const generic& error) {
        EXPECT_STREQ(error.what(), "unicode.invalid_codepage[]");
    }
    EXPECT_STREQ(generic("").code(), "unicode");
    EXPECT_STREQ(out_of_memory("").code(), "unicode.out_of_memory");
    EXPECT_STREQ(unmappable_character("").code(), "unicode.unmappable_character");
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
    EXPECT_STREQ(error.code(), "first");
    const exception_w formatted(u"%s %d", u"wide", 5);
    EXPECT_STREQ(formatted.message(), "wide 5");
    EXPECT_STREQ(static_cast<const std::exception&>(formatted).what(), "[wide 5]");
}

} // namespace
} // namespace tackle::unicode
