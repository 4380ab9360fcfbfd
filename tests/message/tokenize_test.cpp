#include "message/tokenize.h"

#include <gtest/gtest.h>

#include <vector>

namespace tackle::internet::message2 {
namespace {

std::vector<string> tokenize(string_view raw, string_view delimiters, bool keep_quotes) {
    token_reader reader(raw, delimiters, keep_quotes);
    std::vector<string> tokens;
    for (string token; reader.next(token);)
        tokens.push_back(token);
    return tokens;
}

TEST(tokenize, splits_header_values) {
    const struct {
        const char* label;
        string_view raw;
        string_view delimiters;
        bool keep_quotes;
        std::vector<string> expected;
    } cases[] = {
        {"empty", "", ";,", true, {}},
        {"both delimiters, none at the end", "a;b,c;", ";,", true, {"a", "b", "c"}},
        {"delimiters side by side", ";;a", ";,", true, {"", "", "a"}},
        {"blanks before a token go, blanks after it stay", "  a b  ; c", ";", true, {"a b  ", "c"}},
        {"blanks alone", "   ", ";", true, {}},
        {"a quoted delimiter", R"(a="b;c";d)", ";", true, {R"(a="b;c")", "d"}},
        {"quotes dropped", R"(a="b=c")", "=", false, {"a", "b=c"}},
        {"an open quote runs to the end", R"(a;"b;c)", ";", false, {"a", "b;c"}},
        {"an open quote is kept", R"("b;c)", ";", true, {R"("b;c)"}},
        {"a blank quoted first", R"(" a")", ";", false, {" a"}},
        {"blanks after empty quotes", R"(""  a)", ";", false, {"a"}},
        {"a backslash goes, with quotes kept too", R"(a\;b\"c;d)", ";", true, {R"(a;b"c)", "d"}},
        {"a backslash within quotes", R"("a\";b)", ";", true, {R"("a\")", "b"}},
        {"a backslash at the end", R"(a\)", ";", true, {"a"}},
        {"a delimiter in an encoded word", "=?x?Q?a;b?=;c", ";", true, {"=?x?Q?a;b?=", "c"}},
        {"a quote in an encoded word", "=?x?Q?\"?=;\"c", ";", false, {"=?x?Q?\"?=", "c"}},
        {"text that begins with an equals sign closes its word", "=?x?Q?=41;b?=", ";", true, {"=?x?Q?=41", "b?="}},
        {"an encoded word that never closes", "=?x;y;z", ";", true, {"=?x;y;z"}},
        {"opened and closed by one question mark", "=?=;b", ";", true, {"=?=", "b"}},
        {"equals signs inside the word", "=?a==?==;b", ";", true, {"=?a==?==", "b"}},
        {"a question mark first opens nothing", "?=;?a;b", ";", true, {"?=", "?a", "b"}},
        {"a question mark without equals sign", "a?;b", ";", true, {"a?", "b"}},
        {"escaped equals sign before a question mark", R"(\=?a;b)", ";", true, {"=?a;b"}},
        {"equals sign as delimiter opens no word", "=?a=b", "=", false, {"", "?a", "b"}},
        {"angle brackets", "<>", "<>", false, {"", ""}},
        {"not ASCII", string_view("\xC3\xA9\0;\xFF", 5), ";", true, {string("\xC3\xA9\0", 3), "\xFF"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(tokenize(c.raw, c.delimiters, c.keep_quotes), c.expected) << c.label;
}

} // namespace
} // namespace tackle::internet::message2
