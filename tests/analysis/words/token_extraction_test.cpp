#include "analysis/words/token_extraction.h"

#include <gtest/gtest.h>

namespace brimwarden::analysis {
namespace {

using tackle::string;
using tackle::wstring;
using std::string_literals::operator""s;

std::vector<wstring> owned(const token_list& tokens) { return {tokens.begin(), tokens.end()}; }

TEST(normalise_text, blanks_and_lower_cases_unit_by_unit) {
    const struct {
        const char* label;
        wstring text, normalised;
    } cases[] = {
        {"nothing", u"", u""},
        {"white space and controls, one blank each", u"A\t\r\n\0B\x7F"s, u"a    b "s},
        {"white space of other scripts", u"a\u00A0b\u3000c\u2003d", u"a b c d"},
        {"accented capitals of Latin-1 stay", u"\u00C9\u00DE\u00D7Z", u"\u00C9\u00DE\u00D7z"},
        {"from U+0100 on all are mapped", u"\u0100\u0178\u0410\u03A3\uFF21", u"\u0101\u00FF\u0430\u03C3\uFF41"},
        {"halves of a pair stay", u"\xD801\xDC00\xDC00", u"\xD801\xDC00\xDC00"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        auto text = c.text;
        normalise_text(text);
        EXPECT_EQ(text, c.normalised);
    }
}

TEST(tokenise, cuts_at_white_space_and_delimiters) {
    const struct {
        const char* label;
        token_mode mode;
        wstring text;
        std::vector<wstring> tokens;
    } cases[] = {
        {"nothing", word_mode, u"", {}},
        {"only delimiters", word_mode, u" .,; ", {}},
        {"duplicates stay", word_mode, u"a b,a", {u"a", u"b", u"a"}},
        {"any punctuation", word_mode, u"it's (50%) \u00ABoff\u00BB", {u"it", u"s", u"50", u"off"}},
        {"symbols of ASCII count as punctuation", word_mode, u"$5 a+b", {u"5", u"a", u"b"}},
        {"only full stops", dot_mode, u"buy-it.now, (dot) com.", {u"buy-it", u"now,", u"(dot)", u"com"}},
        {"a scheme is a word", word_mode, u"see http://a.b/c d", {u"see", u"http", u"d"}},
        {"and is none between dots", dot_mode, u"see http://a.b/c d", {u"see", u"d"}},
        {"https", word_mode, u"https://a.b?c=d\te", {u"https", u"e"}},
        {"https, between dots", dot_mode, u"https:a.b e", {u"e"}},
        {"another scheme counts for nothing", word_mode, u"ftp://a.b", {u"ftp", u"a", u"b"}},
        {"a scheme inside a chunk", word_mode, u"(http://a.b x", {u"http", u"a", u"b", u"x"}},
        {"a scheme in one piece with its dots", dot_mode, u"www.http:x", {u"www", u"http:x"}},
        {"no colon", word_mode, u"http.a https", {u"http", u"a", u"https"}},
        {"the colon as last unit", dot_mode, u"http: https:", {}},
        {"a control is no white space",
         word_mode,
         u"a\x01"
         u"b",
         {u"a\x01"
          u"b"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        token_list tokens;
        tokenise(c.text, tokens, c.mode);
        EXPECT_EQ(owned(tokens), c.tokens);
    }
}

TEST(check_address_customization, finds_the_names_of_recipients) {
    const struct {
        const char* label;
        string headers;
        wstring text;
        std::vector<wstring> found;
        std::vector<wstring> left;
    } cases[] = {
        {"no field", "From: bob@x\r\n", u"dear bob", {}, {u"dear", u"bob"}},
        {"once", "To: B <BoB@x.example>\r\n", u"dear bob you", {u"bob"}, {u"dear", u"you"}},
        {"twice", "To: bob@x\r\n", u"bob dear bob", {}, {u"bob", u"dear", u"bob"}},
        {"a longer word", "To: bob@x\r\n", u"bobby", {}, {u"bobby"}},
        {"the same recipient twice", "To: bob@x, bob@y\r\nCC: bob@z\r\n", u"bob", {u"bob"}, {}},
        {"three at most, over both fields",
         "To: d@x, c@x\r\nCC: no@x; b@x, a@x\r\n",
         u"a b c d",
         {u"d", u"c", u"b"},
         {u"a"}},
        {"no name in front", "To: @bob@x, @@\r\n", u"bob", {u"bob"}, {}},
        {"no at sign", "To: bob\r\n", u"bob", {u"bob"}, {}},
        {"an accented capital stays", "CC: \xC9@x\r\n", u"\u00E9 \u00C9", {u"\u00C9"}, {u"\u00E9"}},
        {"only the first field counts", "To: a@x\r\nTo: b@x\r\n", u"a b", {u"a"}, {u"b"}},
        {"an unreadable field, and the other", "To: a@x, =?iso-8859-1?Q?=ZZ?=\r\nCC: b@x\r\n", u"a b", {u"b"}, {u"a"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const tackle::internet::message2::part root(tackle::string_view(c.headers + "\r\n"));
        token_list tokens;
        tokenise(c.text, tokens, word_mode);
        test_result_list results;
        check_address_customization(root, tokens, results);
        EXPECT_EQ(owned(tokens), c.left);
        ASSERT_EQ(results.size(), c.found.size());
        for (std::size_t i = 0; i < results.size(); ++i) {
            EXPECT_EQ(results[i].name, u"Part.Text.Address_Customization");
            EXPECT_EQ(results[i].value, 5.0F);
            EXPECT_EQ(results[i].details, u"Token: \"" + c.found[i] + u"\"");
        }
    }
}

TEST(check_diagnostics, looks_at_short_texts_only) {
    const wstring test_text = u"xjs*c4jdbqadn1.nsbn3*2idnen*gtube-standard-anti-ube-test-email*c.34x";
    const auto filled = [](const wstring& text, std::size_t size) { return wstring(size - text.size(), u'.') + text; };
    const struct {
        const char* label;
        wstring text;
        std::vector<std::pair<tackle::wstring_view, float>> found;
    } cases[] = {
        {"1024 units, blanks not counted", u"  " + filled(test_text, 1024) + u" ", {{u"Diagnostic.GTUBE", 100.0F}}},
        {"1025 units", filled(test_text, 1025), {}},
        {"one unit missing", test_text.substr(1), {}},
        {"a redirect", u"&bt ni=xgoo gle.", {{u"Part.Text.Search_Engine_Redirect", 50.0F}}},
        {"half a redirect", u"google.com", {}},
        {"both",
         u"google.&btni=" + test_text,
         {{u"Part.Text.Search_Engine_Redirect", 50.0F}, {u"Diagnostic.GTUBE", 100.0F}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        test_result_list results;
        check_diagnostics(c.text, results);
        std::vector<std::pair<tackle::wstring_view, float>> found;
        for (const auto& result : results)
            found.emplace_back(result.name, result.value);
        EXPECT_EQ(found, c.found);
    }
}

} // namespace
} // namespace brimwarden::analysis
