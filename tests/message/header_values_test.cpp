#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "message/header_type/addresses_value_type.h"
#include "message/header_type/parametized_value_type.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace tackle::internet::message2::header_type {
namespace {

using texts = std::vector<std::pair<string, wstring>>;

template <typename list>
texts all(const list& pairs) {
    texts out;
    for (const auto& [first, second] : pairs)
        out.emplace_back(first, second);
    return out;
}

TEST(unstructured_value, decodes_encoded_words) {
    const struct {
        const char* label;
        string_view raw;
        wstring_view expected;
        string_view charset_after = "iso-8859-1";
    } cases[] = {
        {"inner blanks stay, those at the end go", " a  b  ", u" a  b"},
        {"8-bit text in the default charset", "caf\xE9", u"caf\u00E9"},
        {"Q, underscore and hexadecimal", "=?utf-8?Q?a_=C3=A9=5F?=", u"a \u00E9_", "utf-8"},
        {"b, damaged", "=?utf-8?b?w*6k?=", u"\u00E9", "utf-8"},
        {"the blank between two words goes", "=?utf-8?Q?a?= =?utf-8?Q?b?=", u"ab", "utf-8"},
        {"empty words are words too", "=?utf-8?Q?\?= =?utf-8?Q?\?= =?utf-8?Q?b?=", u"b", "utf-8"},
        {"blanks next to plain text stay", "=?utf-8?Q?a?=  b   =?utf-8?Q?c?=", u"a  b   c", "utf-8"},
        {"text stuck to a word", "x\xE9=?utf-8?Q?=C3=A9?=\xE9y", u"x\u00E9\u00E9\u00E9y", "utf-8"},
        {"an unknown encoding leaves its charset", "=?utf-8?X?\xC3\xA9?= \xC3\xA9", u"=?utf-8?X?\u00E9?= \u00E9",
         "utf-8"},
        {"charset lasts for the plain text after it", "=?koi8-r?Q?=C1?= \xC1", u"\u0430 \u0430", "koi8-r"},
        {"plain letters and an escape of their charset", "=?utf-7?Q?x?= a+AOk- b", u"x a\u00E9 b", "utf-7"},
        {"letters that are others in their charset", "=?ibm037?Q?=81?= \x81 a", u"a a /", "ibm037"},
        {"no charset gives the bytes", "=??Q?=C1?=", u"\u00C1", ""},
        {"a question mark too many", "=?utf-8?Q?a?b?=", u"=?utf-8?Q?a?b?="},
        {"two words in one piece", "=?utf-8?Q?a?==?utf-8?Q?b?=", u"=?utf-8?Q?a?==?utf-8?Q?b?="},
        {"closed before it opens", "?=a?b?c?=?", u"?=a?b?c?=?"},
        {"one question mark for both ends", "=?=", u"=?="},
        {"a blank inside ends the word", "=?utf-8?Q?a b?=", u"=?utf-8?Q?a b?="},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        unstructured_value_type value;
        value.parse(c.raw);
        EXPECT_EQ(value.value(), c.expected);
        EXPECT_EQ(value.charset(), c.charset_after);
        unstructured_value_type tried;
        EXPECT_TRUE(tried.try_parse(c.raw));
        EXPECT_EQ(tried.value(), c.expected);
    }
}

TEST(unstructured_value, raises_what_it_cannot_read) {
    unstructured_value_type value;
    EXPECT_THROW(value.parse("=?utf-8?Q?=ZZ?="), coding::translate::invalid_codeword);
    EXPECT_THROW(value.parse("=?shift_jis?Q?=81?="), unicode::generic);
    EXPECT_THROW(value.parse("=?cp9999?Q?a=80?="), unicode::invalid_codepage);
    parametized_value_type parametized;
    for (const string word : {"=?utf-8?Q?=ZZ?=", "=?shift_jis?Q?=81?=", "=?cp9999?Q?a=80?="}) {
        EXPECT_FALSE(value.try_parse("a " + word)) << word;
        EXPECT_FALSE(parametized.parse_readable(word + "; a=b")) << word;
        EXPECT_EQ(all(parametized.parameters()), (texts{{"a", u"b"}})) << word;
        EXPECT_TRUE(parametized.parse_readable("x; a=\"" + word + "\"; A=b")) << word;
        EXPECT_EQ(all(parametized.parameters()), (texts{{"A", u"b"}})) << word;
    }
    value.parse("=?utf-8?Q?=E2=82=AC?=");
    string out = "kept";
    EXPECT_THROW(value.value_in(out, 28591), unicode::unmappable_character);
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(value.value_in(out, 65001), "\xE2\x82\xAC");
}

TEST(unstructured_value, renders_the_shorter_encoded_word) {
    const struct {
        const char* label;
        string_view charset;
        wstring_view value;
        string_view expected;
    } cases[] = {
        {"B is shorter", "utf-8", u"\u00E9\u00E9", "=?utf-8?B?w6nDqQ==?="},
        {"Q is shorter", "iso-8859-1", u"abcd e\u00E9", "=?iso-8859-1?Q?abcd_e=E9?="},
        {"Q at equal length", "iso-8859-1", u"a\u00E9", "=?iso-8859-1?Q?a=E9?="},
        {"no charset writes units as bytes", "", u"abc\u00E9", "=??Q?abc=E9?="},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        unstructured_value_type value(c.charset);
        value.set_value(c.value);
        EXPECT_EQ(value.render(), c.expected);
    }
    unstructured_value_type latin;
    latin.set_value(u"\u20AC");
    EXPECT_THROW(static_cast<void>(latin.render()), unicode::unmappable_character);
}

TEST(parametized_value, reads_value_and_parameters) {
    const struct {
        const char* label;
        string_view raw;
        wstring_view value;
        texts parameters;
    } cases[] = {
        {"semicolon and comma", "text/plain; charset=a, name=b", u"text/plain", {{"charset", u"a"}, {"name", u"b"}}},
        {"the blank after the value stays", "text/plain ; a=b ", u"text/plain ", {{"a", u"b"}}},
        {"quotes of the value stay, those of a parameter go", R"("x";n="a;b.txt")", u"\"x\"", {{"n", u"a;b.txt"}}},
        {"an equals sign and nothing after it", "x; a=", u"x", {{"a", u""}}},
        {"two equals signs", "x; a=b=c; d=e", u"x", {{"d", u"e"}}},
        {"an equals sign quoted", "x; a=\"b=c\"", u"x", {{"a", u"b=c"}}},
        {"a parameter without name", "x; =b", u"x", {{"", u"b"}}},
        {"the blank after a name stays", "x; a =b", u"x", {{"a ", u"b"}}},
        {"encoded words in quotes",
         "x; n=\"=?utf-8?Q?=C3=A9;?=\"; m=\xC3\xA9",
         u"x",
         {{"n", u"\u00E9;"}, {"m", u"\u00E9"}}},
        {"parameters without a value", "=b; c=d", u"=b", {{"c", u"d"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        parametized_value_type value;
        value.parse(c.raw);
        EXPECT_EQ(value.value(), c.value);
        EXPECT_EQ(all(value.parameters()), c.parameters);
        EXPECT_TRUE(value.parse_readable(c.raw));
        EXPECT_EQ(value.value(), c.value);
        EXPECT_EQ(all(value.parameters()), c.parameters);
    }
}

TEST(parametized_value, edits_the_first_of_a_name) {
    parametized_value_type value;
    value.parse("x; a=1; B=2; b=3");
    wstring wide = u"kept";
    EXPECT_FALSE(value.get_parameter("c", wide));
    EXPECT_EQ(wide, u"kept");
    EXPECT_TRUE(value.get_parameter("b", wide));
    EXPECT_EQ(wide, u"2");
    value.set_parameter("b", u"longer than before");
    value.set_parameter("A", u"");
    value.set_parameter("new", "\xC3\xA9");
    value.add_parameter("new", "\xE9", 28591);
    EXPECT_EQ(all(value.parameters()),
              (texts{{"a", u""}, {"B", u"longer than before"}, {"b", u"3"}, {"new", u"\u00E9"}, {"new", u"\u00E9"}}));
    value.remove_parameter("NEW");
    value.remove_parameter("b");
    EXPECT_EQ(value.render(), "x; a=\"\"; b=\"3\"; new=\"=?iso-8859-1?Q?=E9?=\"");
    string narrow;
    EXPECT_TRUE(value.get_parameter("new", narrow));
    EXPECT_EQ(narrow, "\xC3\xA9");
}

TEST(addresses_value, reads_names_and_addresses) {
    const struct {
        const char* label;
        string_view raw;
        texts expected; // address, display name
    } cases[] = {
        {"with and without name", "a b <x>, y", {{"x", u"a b "}, {"y", u""}}},
        {"a semicolon", "x;y", {{"x", u""}, {"y", u""}}},
        {"blanks after an address go", "x  , <y  >", {{"x", u""}, {"y", u""}}},
        {"text after the bracket", "a <x> b, y", {{"y", u""}}},
        {"two addresses in one entry", "<x><y>, z", {{"z", u""}}},
        {"an open bracket", "a <x", {{"x", u"a "}}},
        {"a quoted name with a comma and a bracket", R"("a, <b>" <x>)", {{"x", u"a, <b> "}}},
        {"an encoded name", "=?utf-8?Q?a=C3=A9,?= <x>", {{"x", u"a\u00E9, "}}},
        {"an address that the charset of its name makes no bytes",
         "=?cp1251?Q?n?= <\xC0>, m <x>",
         {{"\xC0", u""}, {"x", u"m "}}},
        {"a bad name, the bytes of its address as iso-8859-1",
         "\x81\xFF <x\xE9>, \xE9",
         {{"x\xE9", u""}, {"\xE9", u""}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        addresses_value_type value(string_view(c.label).starts_with("a bad name") ? "shift_jis" : "iso-8859-1");
        value.parse(c.raw);
        EXPECT_EQ(all(value.addresses()), c.expected);
        EXPECT_EQ(value.charset().substr(0, 3), c.raw.find("utf-8") == string_view::npos ? "iso" : "utf");
    }
}

TEST(addresses_value, raises_for_an_address_that_is_no_bytes) {
    addresses_value_type value;
    EXPECT_THROW(value.parse("y, =?utf-8?Q?=E2=82=AC?="), unicode::unmappable_character);
    EXPECT_EQ(all(value.addresses()), (texts{{"y", u""}}));
    EXPECT_THROW(value.parse("n <=?utf-8?Q?=E2=82=AC?=>"), unicode::unmappable_character);
    EXPECT_THROW(value.parse("=?utf-8?Q?=ZZ?= <x>"), coding::translate::invalid_codeword);
}

TEST(addresses_value, renders_names_in_quotes) {
    addresses_value_type value("utf-8");
    value.add_address("x", u"");
    value.add_address("y", u"n\u00E9 ");
    EXPECT_EQ(value.render(), "<x>, \"=?utf-8?Q?n=C3=A9_?=\" <y>");
}

} // namespace
} // namespace tackle::internet::message2::header_type
