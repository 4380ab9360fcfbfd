#include "foundation/text/strings.h"

#include <gmock/gmock.h>

namespace tackle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(strings, fold_ascii_letters_only) {
    const string edges = "@AZ[`az{\xC4\xE4";
    EXPECT_EQ(to_lower(edges), "@az[`az{\xC4\xE4");
    EXPECT_EQ(to_upper(edges), "@AZ[`AZ{\xC4\xE4");
    const wstring wide_edges = u"@AZ[`az{\u00c4\u00e4\uff21\u212a";
    EXPECT_EQ(to_lower(wide_edges), u"@az[`az{\u00c4\u00e4\uff21\u212a");
    EXPECT_EQ(to_upper(wide_edges), u"@AZ[`AZ{\u00c4\u00e4\uff21\u212a");
    wstring wide = u"aB";
    to_upper_in_place(wide);
    EXPECT_EQ(wide, u"AB");
}

TEST(strings, compare_by_their_lower_case) {
    EXPECT_TRUE(iequals("CONTENT-TYPE", "Content-Type"));
    EXPECT_TRUE(iequals(u"Content-Type", u"cONTENT-tYPE"));
    EXPECT_FALSE(iequals("\xC4", "\xE4"));
    EXPECT_FALSE(iequals(u"\u212a", u"k"));
    EXPECT_FALSE(iequals("abc", "ab"));
    const struct {
        const char* label;
        string_view a, b;
        bool expected;
    } cases[] = {
        {"same but for case", "ABC", "abc", false},
        {"case does not decide", "abc", "ABD", true},
        {"prefix first", "AB", "abc", true},
        {"and not last", "abc", "AB", false},
        {"bytes count as unsigned", "z", "\x80", true},
        {"letters count as lower", "_", "A", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(iless(c.a, c.b), c.expected);
    }
}

TEST(strings, split_at_any_delimiter) {
    EXPECT_THAT(split("", ","), ElementsAre(""));
    EXPECT_THAT(split_tokens("", ","), IsEmpty());
    EXPECT_THAT(split(",a;;b,", ",;"), ElementsAre("", "a", "", "b", ""));
    EXPECT_THAT(split_tokens(",a;;b,", ",;"), ElementsAre("a", "b"));
    EXPECT_THAT(split("a\xFF\x62", "\xFF"), ElementsAre("a", "b"));
    EXPECT_THAT(split(u"a\u2028b,c", u"\u2028,"), ElementsAre(u"a", u"b", u"c"));
    EXPECT_THAT(split(u"\u022c", u","), ElementsAre(u"\u022c")); // ends in the byte of a comma
    EXPECT_THAT(split_tokens(u" a  b", u" "), ElementsAre(u"a", u"b"));
    EXPECT_THAT(split("abc", ""), ElementsAre("abc"));
}

TEST(strings, split_with_quotes) {
    EXPECT_THAT(split_quoted(R"(one "two, three" four)", " ,"), ElementsAre("one", "two, three", "four"));
    EXPECT_THAT(split_quoted(R"(a"b c"d)", " "), ElementsAre("a", "b c", "d"));
    EXPECT_THAT(split_quoted(R"("" "x")", " "), ElementsAre("x"));
    EXPECT_THAT(split_quoted(R"(a "b c)", " "), ElementsAre("a", "b c"));
    EXPECT_THAT(split_quoted(R"(a")", " "), ElementsAre("a"));
    EXPECT_THAT(split_quoted("", " "), IsEmpty());
}

TEST(strings, replace_from_the_front) {
    EXPECT_EQ(replace_all("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replace_all("a.b.c", ".", ".."), "a..b..c");
    EXPECT_EQ(replace_all("abc", "b", ""), "ac");
    EXPECT_EQ(replace_all("abc", "", "x"), "abc");
    EXPECT_EQ(replace_all(u"a\u20acb", u"\u20ac", u"EUR"), u"aEURb");
    string own = "xyx";
    replace_all_in_place(own, string_view(own).substr(0, 1), string_view(own).substr(1, 1));
    EXPECT_EQ(own, "yyy");
}

TEST(strings, find_substrings_of_any_length) {
    EXPECT_TRUE(contains("abc", ""));
    EXPECT_TRUE(contains("", ""));
    EXPECT_FALSE(contains("", "a"));
    EXPECT_TRUE(contains("abcbcd", "bcd"));
    EXPECT_TRUE(contains(u"ab\u20ac", u"\u20ac"));
    // Each long text begins again inside itself; the last has its only match right at the end.
    const string_view wanted = "abababababababababac";
    EXPECT_TRUE(contains("abababababababababababac", wanted));
    EXPECT_FALSE(contains("abababababababababababad", wanted));
    EXPECT_EQ(replace_all("-abababababababababacabababababababababac", wanted, "X"), "-XX");
    EXPECT_TRUE(contains(u"xaaaaaaaaaaaaaaaaaaaab", u"aaaaaaaaaaaaaaaaaaab"));
}

// The product of these lengths is 10^11 comparisons; nobody would see the end of it.
TEST(strings, find_almost_matching_text_in_linear_time) {
    const string text(1 << 20, 'a');
    const string wanted = string(100000, 'a') + "b";
    EXPECT_FALSE(contains(text, wanted));
    EXPECT_EQ(replace_all(text, wanted, "").size(), text.size());
}

TEST(strings, classify_units_by_the_platform) {
    EXPECT_TRUE(is_digits(""));
    EXPECT_TRUE(is_digits("0123456789"));
    EXPECT_FALSE(is_digits("12a"));
    EXPECT_FALSE(is_digits("\xB2"));
    EXPECT_TRUE(is_digits(u""));
    EXPECT_TRUE(is_digits(u"09\u0663")); // an Arabic digit
    EXPECT_FALSE(is_digits(u"1 "));
    EXPECT_FALSE(has_visible(u""));
    EXPECT_FALSE(has_visible(u" \t\r\n\u00a0\u3000"));
    EXPECT_FALSE(has_visible(u"\u0001\u007f"));
    EXPECT_TRUE(has_visible(u"  . "));
    EXPECT_TRUE(has_visible(u"\u4e00"));
}

TEST(strings, keep_only_a_set) {
    EXPECT_EQ(keep_only("a1\xFF-b2", "12\xFF"), "1\xFF\x32");
    EXPECT_EQ(keep_only(u"a\u20acb\u2028", u"\u20acb"), u"\u20acb");
    EXPECT_EQ(keep_only(u"\u0161a", u"a"), u"a"); // \u0161 ends in the byte of an a
}

} // namespace
} // namespace tackle
