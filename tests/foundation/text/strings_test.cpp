#include "foundation/text/strings.h"

#include <gmock/gmock.h>

namespace tackle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(strings, fold_ascii_letters_only) {
    EXPECT_EQ(to_lower("@AZ[`az{\xC4\xE4"), "@az[`az{\xC4\xE4");
    EXPECT_EQ(to_upper("@AZ[`az{\xC4\xE4"), "@AZ[`AZ{\xC4\xE4");
    EXPECT_EQ(to_lower(u"@AZ[`az{\u00c4\u00e4\uff21\u212a"), u"@az[`az{\u00c4\u00e4\uff21\u212a");
    EXPECT_EQ(to_upper(u"@AZ[`az{\u00c4\u00e4\uff21\u212a"), u"@AZ[`AZ{\u00c4\u00e4\uff21\u212a");
}

TEST(strings, compare_by_their_lower_case) {
    EXPECT_TRUE(iequals("CONTENT-TYPE", "Content-Type"));
    EXPECT_TRUE(iequals(u"Content-Type", u"cONTENT-tYPE"));
    EXPECT_FALSE(iequals(u"\u212a", u"k"));
    EXPECT_FALSE(iequals("abc", "ab"));
    EXPECT_FALSE(iless("ABC", "abc"));
    // Letters count as lower case, bytes as unsigned.
    const string_view in_order[] = {"_", "AB", "abc", "ABD", "z", "\x80"};
    for (std::size_t i = 0; i + 1 < std::size(in_order); ++i) {
        EXPECT_TRUE(iless(in_order[i], in_order[i + 1])) << in_order[i];
        EXPECT_FALSE(iless(in_order[i + 1], in_order[i])) << in_order[i];
    }
}

TEST(strings, split_at_any_delimiter) {
    EXPECT_THAT(split("", ","), ElementsAre(""));
    EXPECT_THAT(split_tokens("", ","), IsEmpty());
    EXPECT_THAT(split(",a;;b,", ",;"), ElementsAre("", "a", "", "b", ""));
    EXPECT_THAT(split_tokens(",a;;b,", ",;"), ElementsAre("a", "b"));
    EXPECT_THAT(split("a\xFF\x62", "\xFF"), ElementsAre("a", "b"));
    EXPECT_THAT(split(u"a\u2028b,c\u022c", u"\u2028,"), ElementsAre(u"a", u"b", u"c\u022c")); // low byte of a comma
}

TEST(strings, split_with_quotes) {
    EXPECT_THAT(split_quoted(R"(one "two, three" four)", " ,"), ElementsAre("one", "two, three", "four"));
    EXPECT_THAT(split_quoted(R"(a"b c"d)", " "), ElementsAre("a", "b c", "d"));
    EXPECT_THAT(split_quoted(R"("" "x")", " "), ElementsAre("x"));
    EXPECT_THAT(split_quoted(R"(a "b c)", " "), ElementsAre("a", "b c"));
    EXPECT_THAT(split_quoted(R"(a")", " "), ElementsAre("a"));
}

TEST(strings, replace_from_the_front) {
    EXPECT_EQ(replace_all("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replace_all("a.b.c", ".", ".."), "a..b..c");
    EXPECT_EQ(replace_all("abc", "", "x"), "abc");
    EXPECT_EQ(replace_all(u"a\u20acb", u"\u20ac", u"EUR"), u"aEURb");
    string own = "xyx";
    replace_all_in_place(own, string_view(own).substr(0, 1), string_view(own).substr(1, 1));
    EXPECT_EQ(own, "yyy");
}

// Texts above 16 units are searched in linear time. Each of these begins again inside itself.
TEST(strings, find_substrings_of_any_length) {
    EXPECT_TRUE(contains("", ""));
    EXPECT_FALSE(contains("", "a"));
    EXPECT_TRUE(contains("abcbcd", "bcd"));
    const string_view wanted = "abababababababababac";
    EXPECT_TRUE(contains("abababababababababababac", wanted));
    EXPECT_FALSE(contains("abababababababababababad", wanted));
    EXPECT_EQ(replace_all("-abababababababababacabababababababababac", wanted, "X"), "-XX");
    EXPECT_TRUE(contains(u"xaaaaaaaaaaaaaaaaaaaab", u"aaaaaaaaaaaaaaaaaaab"));
    // The product of these lengths is 10^11 comparisons, which would take minutes.
    EXPECT_FALSE(contains(string(1 << 20, 'a'), string(100000, 'a') + "b"));
}

TEST(strings, classify_units_by_the_platform) {
    EXPECT_TRUE(is_digits(""));
    EXPECT_TRUE(is_digits("0123456789"));
    EXPECT_FALSE(is_digits("12a"));
    EXPECT_FALSE(is_digits("\xB2"));
    EXPECT_TRUE(is_digits(u"09\u0663")); // an Arabic digit
    EXPECT_FALSE(is_digits(u"1 "));
    EXPECT_FALSE(has_visible(u" \t\r\n\u00a0\u3000\u0001\u007f"));
    EXPECT_TRUE(has_visible(u"  . "));
    EXPECT_TRUE(has_visible(u"\u4e00"));
}

TEST(strings, keep_only_a_set) {
    EXPECT_EQ(keep_only("a1\xFF-b2", "12\xFF"), "1\xFF\x32");
    EXPECT_EQ(keep_only(u"a\u20acb\u2028\u0161", u"\u20aca"), u"a\u20ac"); // \u0161 ends in the byte of an a
}

} // namespace
} // namespace tackle
