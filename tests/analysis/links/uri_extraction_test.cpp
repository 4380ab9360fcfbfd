#include "analysis/links/uri_extraction.h"

#include "foundation/text/unicode.h"

#include <gtest/gtest.h>

namespace brimwarden::analysis {
namespace {

using tackle::string;
using tackle::wstring;
using tackle::wstring_view;
using tackle::internet::message2::part;
using values = std::vector<wstring>;

values values_of(uri_list& uris) {
    signature_list signatures;
    uris.move_to(signatures);
    values result;
    for (const auto& one : signatures)
        result.push_back(one.value);
    return result;
}

struct text_case {
    const char* label;
    wstring_view text;
    values expected;
};

const text_case text_cases[] = {
    {"no scheme", u"see example.com", {}},
    {"each kind", u" http://a.com https:b.com xwww.c.com ", {u"com.a", u"com.b", u"com.c.www"}},
    {"up to the white space", u"http://a.com/b c", {u"com.a/b"}},
    {"one hidden behind another", u"http:xhttp://a.com", {u"com.a"}},
    {"quotes", u"\"http://a.com/b c\" d", {u"com.a/b c"}},
    {"round brackets", u"(www.a.com/b c) http://d.com", {u"com.a.www/b c", u"com.d"}},
    {"angle brackets", u"<http://a.com/b c>http://d.com", {u"com.a/b c", u"com.d"}},
    {"square brackets", u"[http://a.com/b c]", {u"com.a/b c"}},
    {"not directly in front", u"( www.a.com) b", {u"com.a.www"}},
    {"behind an @, to the next >", u"me@www.a.com is > www.b.com", {u"com.b.www"}},
    {"behind an @, to the end", u"me@www.a.com is here www.b.com now", {}},
    {"unclosed, host alone", u"(www.a.com", {u"com.a.www"}},
    {"unclosed, ends the scan", u"(www.a.com/x www.b.com", {u"com.a.www/x www.b.com"}},
    {"the next one starts at the end of the last", u"(www.a.com)www.b.com", {u"com.a.www", u"com.b.www"}},
    {"the shortest form", u"http://a.com/x/y http://a.com/x http://a.com/x/z", {u"com.a/x"}},
    {"text instead of labels", u"http://www.a.com http://a.com", {u"com.a"}},
    {"values of a query",
     u"http://a.com?q=http://b.com&r=c.com&s=d=e.com&f.com",
     {u"com.a", u"com.b", u"com.c", u"com.f"}},
    {"words of a search", u"http://a.com?q=inurl:site:b.com", {u"com.a", u"com.b"}},
    {"escaped query", u"http://a.com%3fq=b.com", {u"com.a", u"com.b"}},
    {"host in square brackets dropped", u"http://a[.com/", {u"com.a"}},
    {"port at the end", u"http://example.com:80", {}},
    {"number", u"http://0x7f.0.0.1/a/b", {u"127.0.0.1/a"}},
    {"number and words in the place of the host", u"(http://!/1.2.3.4 junk)", {u"1.2.3.4"}},
    {"the same hidden", u"(http:x%2541http:!/1.2.3.4 \u00fc/www.x)", {u"1.2.3.4/www.x"}},
    {"hidden, a label after the words", u"(http:xhttp:xhttp:!/1.2.3.4 junk.x)", {}},
    {"hidden, fewer numbers than labels", u"(http:xhttp:xhttp:!/1.2 junk.x.y)", {u"1.0.0.2"}},
};

TEST(scan_text_for_uris, finds_addresses) {
    for (const auto& c : text_cases) {
        SCOPED_TRACE(c.label);
        uri_list uris;
        scan_text_for_uris(c.text, uris);
        EXPECT_EQ(values_of(uris), c.expected);
    }
}

TEST(scan_text_for_uris, tells_where_a_value_comes_from) {
    uri_list uris(true);
    scan_text_for_uris(u"(http://u@a.com:8/?x=%62.com)", uris);
    scan_spoken_uris({u"www", u"dot", u"c", u"com"}, uris);
    signature_list signatures;
    uris.move_to(signatures);
    ASSERT_EQ(signatures.size(), 3U);
    EXPECT_EQ(signatures[0].details, u"Input: \"http://u@a.com:8/?x=%62.com\"");
    EXPECT_EQ(signatures[1].details, u"Input: \"b.com\"");
    EXPECT_EQ(signatures[2].details, u"");
}

struct words_case {
    const char* label;
    token_list words;
    values expected;
};

const words_case words_cases[] = {
    {"spelled out", {u"www", u"dot", u"example", u"dot", u"com"}, {u"com.example.www"}},
    {"without the dots", {u"www", u"example", u"com"}, {u"com.example.www"}},
    {"two words between", {u"www", u"a", u"b", u"com"}, {u"com.b.a.www"}},
    {"three words between", {u"www", u"dot", u"a", u"dot", u"b", u"dot", u"c", u"dot", u"com"}, {}},
    {"no www", {u"a", u"com"}, {}},
    {"nothing between", {u"www", u"com"}, {u"com.www"}},
    {"from the last to the first", {u"www", u"a", u"com", u"www", u"b", u"net"}, {u"net.b.www", u"com.a.www"}},
    {"a top-level domain is a word too", {u"www", u"a", u"co", u"uk"}, {u"uk.co.a.www", u"co.a.www"}},
    {"the nearest www", {u"www", u"a", u"www", u"b", u"com"}, {u"com.b.www"}},
};

TEST(scan_spoken_uris, finds_addresses_in_words) {
    for (const auto& c : words_cases) {
        SCOPED_TRACE(c.label);
        uri_list uris;
        scan_spoken_uris(c.words, uris);
        EXPECT_EQ(values_of(uris), c.expected);
    }
}

TEST(may_spell_uris, finds_the_word_wherever_it_stands) {
    for (const wstring_view text : {u"www", u"www a", u"a www.b", u"ab www", u"wwww.www.", u"wwwww abc www"})
        EXPECT_TRUE(may_spell_uris(text)) << string(text.begin(), text.end());
    for (const wstring_view text : {u"", u"ww", u"wwww", u"awww b", u"a http://www.b.com", u"www: wwwwww ww w"})
        EXPECT_FALSE(may_spell_uris(text)) << string(text.begin(), text.end());
}

TEST(scan_spoken_uris, leaves_longer_ones) {
    uri_list uris;
    uris.add(u"com.a.www/x", {});
    scan_spoken_uris({u"www", u"a", u"com", u"www", u"a", u"com"}, uris);
    EXPECT_EQ(values_of(uris), (values{u"com.a.www/x", u"com.a.www"}));
}

TEST(scan_links, passes_over_attached_files) {
    const part root("Content-Type: multipart/mixed; boundary=b\r\n\r\n"
                    "--b\r\nContent-Type: image/png\r\n"
                    "Content-Disposition: attachment; filename=\"=?shift_jis?q?=81?=\"\r\n\r\nx\r\n"
                    "--b\r\nContent-Type: image/png; name=\"www.A.com\"\r\n\r\nx\r\n"
                    "--b\r\nContent-Type: image/png\r\n"
                    "Content-Disposition: attachment; filename=c.com\r\n\r\nx\r\n"
                    "--b--\r\n");
    tackle::html::text_set links;
    for (const wstring_view link : {u"www.a.com", u"www.a.com/x", u"c.com", u"d.com"})
        links.insert(link);
    uri_list uris;
    scan_links(root, links, uris);
    EXPECT_EQ(values_of(uris), (values{u"com.d", u"com.a.www/x"}));
}

struct recipient_case {
    const char* label;
    string to;
    values expected;
};

const recipient_case recipient_cases[] = {
    {"the domain and all below", "To: a@A.com", {u"org.b"}},
    {"of the first only", "To: X <x@b.org>, a@a.com", {u"com.a.www/x", u"com.a"}},
    {"behind the last @", "To: x@y@a.com", {u"org.b"}},
    {"none", "Subject: x", {u"com.a.www/x", u"com.a", u"org.b"}},
    {"no domain", "To: com", {u"com.a.www/x", u"com.a", u"org.b"}},
};

TEST(drop_recipient_domain, takes_out_what_begins_so) {
    for (const auto& c : recipient_cases) {
        SCOPED_TRACE(c.label);
        uri_list uris;
        uris.add(u"com.a.www/x", {});
        uris.add_beside(u"com.a");
        uris.add_beside(u"org.b");
        drop_recipient_domain(part(c.to + "\r\n\r\nx"), uris);
        EXPECT_EQ(values_of(uris), c.expected);
    }
}

TEST(check_bulk_uris, counts_the_first) {
    struct bulk_case {
        wstring_view value;
        bool is_bulk;
    };
    const bulk_case cases[] = {
        {u"com.example.groups/x", true},
        {u"com.example.groups", false},
        {u"com.example.groups.www/x", false},
        {u"org.example.a", true},
        {u"org.example", false},
        {u"tp.abcdef", true},
        {u"cn.com.a", false},
        {u"cn.com", true},
        {u"cn.a", true},
        {u"cn", false},
    };
    signature_list signatures;
    std::vector<wstring> bulk;
    for (const auto& c : cases) {
        signatures.emplace_back(u"tru", wstring(c.value));
        if (c.is_bulk) bulk.push_back(u"Unknown bulk URI: " + wstring(c.value));
    }
    signatures.emplace_back(u"tbd", u"cn.b");
    signatures.emplace_back(u"tru", u"cn.known").matched = true;
    auto& ignored = signatures.emplace_back(u"tru", u"cn.ignored");
    ignored.matched = ignored.ignored = true;
    bulk.push_back(u"Unknown bulk URI: cn.ignored");
    test_result_list results;
    check_bulk_uris(signatures, results);
    ASSERT_EQ(results.size(), bulk.size());
    for (std::size_t i = 0; i < bulk.size(); ++i) {
        EXPECT_EQ(results[i].name, u"Part.Text.Unknown_Bulk_URI");
        EXPECT_EQ(results[i].details, bulk[i]);
        EXPECT_EQ(results[i].value, i == 0 ? 40.0F : 0.0F);
    }
}

} // namespace
} // namespace brimwarden::analysis
