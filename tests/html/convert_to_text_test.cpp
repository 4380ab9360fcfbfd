#include "html/convert_to_text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tackle::html {
namespace {

TEST(convert_to_text, gives_what_a_reader_sees) {
    const struct {
        const char* label;
        bool in_body;
        wstring_view html;
        wstring_view text;
    } cases[] = {
        {"only the body", false, u"<html>x<body class=y>a b</body>c", u"a b"},
        {"no body is needed", true, u"hello", u"hello"},
        {"no body where one is needed", false, u"hello", u""},
        {"a second body", false, u"<body>a</body>b<BODY>c", u"ac"},
        {"style, title and meta are left out", false, u"<body>a<style>x</style>b<title>t</title>c<meta >d", u"abc"},
        {"a style is left out up to the next tag", true, u"<style>x<!-- y -->z", u"z"},
        {"a script is text", false, u"<body><script>var a;</script>", u"var a;"},
        {"p and br break the line", true, u"a<p>b<BR>c", u"a\r\nb\r\nc"},
        {"div and /p do not break it, nor br/", true, u"a<div>b<br/>c</p>d<br />e", u"abcd\r\ne"},
        {"the first of the white space stays", true, u"a\n \t b  c", u"a\nb c"},
        {"no white space in front", true, u" \r\n a", u"a"},
        {"no white space after a line break", true, u"a <br> b", u"a \r\nb"},
        {"white space collapses across tags", true, u"a <b> b", u"a b"},
        {"white space collapses across an entity", true, u"a &amp; b", u"a &b"},
        {"an entity that is white space is not collapsed", true, u"a &#32;&nbsp; b", u"a  \u00a0b"},
        {"an entity in a title is not left out", true, u"<title>a&lt;b</title>c", u"<c"},
        {"hexadecimal entity", true, u"&#x41;", u"A"},
        {"hexadecimal entity without digits", true, u"&#xZZ;&#xZZ ", u"&#xZZ "},
        {"no entities before the body", false, u"&#x41;&amp;<body>&amp;", u"&"},
        {"an entity for zero", true, u"a&#0;b", wstring_view(u"a\0b", 3)},
        {"entity notin", true, u"&notin;", u"\u221a"},
        {"entity with digits of another script", true, u"a &#\u0663;  b", u"a &#\u0663; b"},
        {"entity with such digits before the body", false, u"&#\u0663;<body>b", u"b"},
        {"link target", true, u"<a href='HTTP://X.Example/Y'>z</a>", u"<http://x.example/y> z"},
        {"blanks around a link target collapse", true, u"a <a href=http:b> c", u"a <http:b> c"},
        {"an empty link target", true, u"a<a href=''>b", u"a <> b"},
        {"two link targets in one tag", true, u"<a href=http:1 HREF=http:2>", u"<http:1> <http:2> "},
        {"an image has no link target", true, u"a<img src=b>c", u"ac"},
        {"no link target outside the body", false, u"<a href='http:a'>z</a><body>b", u"b"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        convert_to_text converter(c.in_body);
        parse(c.html, converter);
        EXPECT_EQ(converter.text, c.text);
    }
}

std::vector<wstring> texts(const text_set& set) {
    std::vector<wstring> result;
    for (const auto text : set)
        result.emplace_back(text);
    return result;
}

TEST(convert_to_text, collects_links) {
    const struct {
        const char* label;
        wstring_view html;
        std::vector<wstring> links;
    } cases[] = {
        {"in order, each once", u"<a href=http:b><img src=http:A><a href=http:b>", {u"http:a", u"http:b"}},
        {"a base goes in front", u"<base href='x.example/'><a href='a'>", {u"http://x.example/a"}},
        {"nothing between base and link", u"<base href='https://x'><img src='a.gif'>", {u"https://xa.gif"}},
        {"a base does not go in front of an address",
         u"<base href=b><a href=HTTPS:c><a href='mailto:d'>",
         {u"https:c", u"mailto:d"}},
        {"no base", u"<a href=/x>", {u"/x"}},
        {"references into the mail", u"<a href='cid:abc'><img src=' MID:d'>", {}},
        {"a reference into the mail is no base", u"<base href=b><base href=cid:c><a href=d>", {u"http://bd"}},
        {"base from an address", u"<base href=mailto:b><a href=c>", {u"mailto:bc"}},
        {"other attributes", u"<a src=1><img href=2><base src=3><area href=4><a name=5>", {}},
        {"blanks in front are lost, others collapse", u"<a href=' \n http:a  b '>", {u"http:a b "}},
        {"an entity encoded twice", u"<a href=a&amp;amp;b=1>", {u"a&b=1"}},
        {"an unknown entity at the end vanishes", u"<a href=a?b&c>", {u"a?b"}},
        {"a tag in a link vanishes", u"<a href='a<b>c'>", {u"ac"}},
        {"a link in a link leaves a blank", u"<a href='a<a href=b>c'>", {u"a c"}},
        {"two bases give one text", u"<base href=http:a><img src=bc><base href=http:ab><img src=c>", {u"http:abc"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        convert_to_text converter(false);
        parse(c.html, converter);
        EXPECT_EQ(texts(converter.links), c.links);
        EXPECT_EQ(converter.links.empty(), c.links.empty());
    }
}

TEST(convert_to_text, collects_tags) {
    convert_to_text converter(false);
    parse(u"<P><br/><p></P>< x><!-- y -->", converter);
    EXPECT_EQ(texts(converter.tags), (std::vector<wstring>{u"", u"!--", u"/p", u"br/", u"p"}));
    EXPECT_TRUE(converter.tags.contains(u"/p"));
    EXPECT_FALSE(converter.tags.contains(u"b"));
    converter = convert_to_text(true);
    parse(u"<q>", converter);
    EXPECT_EQ(texts(converter.tags), std::vector<wstring>{u"q"});
}

// One long base and a few links whose text is just as large as it may be, or a little larger.
TEST(convert_to_text, keeps_what_four_times_the_input_can_hold) {
    constexpr std::size_t length_of_text = 8 * 100'004; // "<", the base, one letter, "> "
    for (const bool fits : {true, false}) {
        wstring html = u"<base href=http:" + wstring(99'995, u'b') + u">";
        for (char16_t name = u'a'; name < u'i'; ++name)
            html += wstring(u"<a href=") + name + u">";
        html.resize(length_of_text / 4 - (fits ? 0 : 1), u' ');
        convert_to_text converter(true);
        parse(html, converter);
        EXPECT_EQ(converter.text.size(), length_of_text - (fits ? 0 : 100'004));
        EXPECT_EQ(converter.links.size(), 8U); // a little shorter, so they fit in either case
    }
}

// Two bases of 100,000 units leave room for eight links of that size. The five that both bases give count once.
TEST(convert_to_text, counts_equal_links_of_two_bases_once) {
    const wstring base = u"<base href=http:" + wstring(100'000, u'b');
    const wstring html = base + u"><img src=ba><img src=bc><img src=bd><img src=be><img src=bf>" + base +
                         u"b><img src=a><img src=c><img src=d><img src=e><img src=f><img src=g><img src=h><img src=i>";
    convert_to_text converter(true);
    parse(html, converter);
    EXPECT_EQ(converter.links.size(), 8U);
}

TEST(convert_to_text, leaves_out_relative_links_beyond_that) {
    wstring html = u"<base href=http:" + wstring(100'000, u'b') + u">";
    for (char16_t i = 0; i < 1000; ++i)
        html +=
            wstring(u"<img src=x") + static_cast<char16_t>(u'a' + i % 10) + static_cast<char16_t>(u'A' + i / 10) + u">";
    html += u"<img src=http:last>";
    convert_to_text converter(true);
    parse(html, converter);
    EXPECT_EQ(converter.links.size(), html.size() * 4 / 100'008 + 1);
    EXPECT_TRUE(converter.links.contains(u"http:last"));
    EXPECT_TRUE(texts(converter.links).front().ends_with(u"bxaa"));
}

// Bases that grow, within 3 KB: the second link after the first one would pass the limit, and so nothing more fits.
TEST(convert_to_text, never_leaves_out_the_first_link_after_a_base) {
    wstring html = u"<base href='http:<base href=b&gt;" + wstring(900, u'c') + u">";
    for (int i = 0; i < 45; ++i)
        html += u"<a href=x>";
    html += u"'><a href=page1><a href=page2>" + wstring(html).replace(12, 5, u"mailto:") + u"'><a href=page3>";
    convert_to_text converter(true);
    parse(html, converter);
    const auto has = [&converter](wstring_view end) {
        const auto ends = [end](wstring_view link) { return link.ends_with(end); };
        return converter.text.find(end) != wstring::npos && std::ranges::any_of(converter.links, ends);
    };
    EXPECT_TRUE(has(u"page1"));
    EXPECT_TRUE(has(u"page3"));
    EXPECT_FALSE(has(u"page2"));
}

} // namespace
} // namespace tackle::html
