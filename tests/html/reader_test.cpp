#include "html/reader.h"

#include "tests/html/event_log.h"

#include <gtest/gtest.h>

namespace tackle::html {
namespace {

struct event_case {
    const char* label;
    wstring_view html;
    wstring_view events;
};

const event_case tag_cases[] = {
    {"nothing", u"", u""},
    {"text", u"abc", u"text[abc]"},
    {"a stray > is text", u"a>b", u"text[a>b]"},
    {"empty text before a tag", u"<b>x</b>", u"text[]tag[b]end[b]text[x]tag[/b]end[/b]"},
    {"a comment ends at the first >", u"<!-- a > b -->c", u"text[]tag[!--]flag[a]flag[]end[!--]text[ b -->c]"},
    {"a slash without a blank belongs to the name", u"<br/>", u"text[]tag[br/]end[br/]"},
    {"a slash behind a blank does not", u"<br />", u"text[]tag[br]end[br]"},
    {"a < before a blank has an empty name", u"1 < 2>3", u"text[1 ]tag[]flag[2]end[]text[3]"},
    {"cut off in the name", u"a<bc", u"text[a]"},
    {"cut off behind the name", u"<b ", u"text[]tag[b]"},
    {"a < inside a tag is part of it", u"<a<b>c", u"text[]tag[a<b]end[a<b]text[c]"},
    {"all kinds of white space", u"<a\tb\nc\vd\fe\rf\u00A0g>",
     u"text[]tag[a]flag[b]flag[c]flag[d]flag[e]flag[f]flag[g]end[a]"},
};

const event_case attribute_cases[] = {
    {"without quotes", u"<a b=c/d>", u"text[]tag[a]attr[b|c/d]end[a]"},
    {"in either quotes", u"<a b='c\" d' e=\"f>'\">", u"text[]tag[a]attr[b|c\" d]attr[e|f>']end[a]"},
    {"stuck to a value is not seen", u"<a b=\"c\"d=\"e\">", u"text[]tag[a]attr[b|c]end[a]"},
    {"blanks around the =", u"<a b = c>", u"text[]tag[a]flag[b]attr[|]flag[c]end[a]"},
    {"an empty value", u"<a b= c=''>", u"text[]tag[a]attr[b|]attr[c|]end[a]"},
    {"each further blank is a flag without name", u"<a  b >", u"text[]tag[a]flag[]flag[b]flag[]end[a]"},
    {"a slash ends a name", u"<a b/c=d>", u"text[]tag[a]end[a]"},
    {"an escaped quote", u"<a b='c\\'d\\\\' e>", u"text[]tag[a]attr[b|c'd\\]flag[e]end[a]"},
    {"a backslash without quotes", u"<a b=c\\'d\\>", u"text[]tag[a]attr[b|c\\'d\\]end[a]"},
    {"a name in quotes has no value", u"<a 'b\\' c'='d'>", u"text[]tag[a]flag[b' c]end[a]"},
    {"value cut off in quotes", u"<a b='c d>", u"text[]tag[a]attr[b|c d>]"},
    {"value cut off behind a backslash", u"<a b='c\\", u"text[]tag[a]attr[b|c]"},
    {"value cut off without quotes", u"<a b=c", u"text[]tag[a]attr[b|c]"},
    {"tag cut off behind a value", u"<a href='x'", u"text[]tag[a]attr[href|x]"},
    {"cut off in front of the value", u"<a href=", u"text[]tag[a]"},
    {"cut off in front of a quoted value", u"<a href='", u"text[]tag[a]attr[href|]"},
    {"cut off in the name", u"<a href", u"text[]tag[a]"},
    {"cut off in a quoted name", u"<a 'href", u"text[]tag[a]"},
};

TEST(parse, reports_tags_and_attributes) {
    for (const auto& c : tag_cases) {
        SCOPED_TRACE(c.label);
        event_log log;
        parse(c.html, log);
        EXPECT_EQ(log.events, c.events);
        EXPECT_EQ(log.length(), c.html.size());
    }
    for (const auto& c : attribute_cases) {
        SCOPED_TRACE(c.label);
        event_log log;
        parse(c.html, log);
        EXPECT_EQ(log.events, c.events);
    }
}

struct entity_case {
    const char* label;
    entity_answer answer;
    wstring_view html;
    wstring_view events;
};

constexpr auto unknown = entity_answer::unknown;
constexpr auto understood = entity_answer::understood;
constexpr auto unreadable = entity_answer::unreadable;

const entity_case entity_cases[] = {
    {"with a semicolon", understood, u"x &amp; y", u"text[x ]entity[amp]text[ y]"},
    {"without one", understood, u"&amp=y", u"text[]entity[amp]text[=y]"},
    {"at the end", understood, u"&#65", u"text[]entity[#65]"},
    {"unknown with a semicolon vanishes", unknown, u"a&nosuch;b", u"text[a]entity[nosuch]text[b]"},
    {"unknown without one is text", unknown, u"&nosuch ", u"text[]entity[nosuch]text[&]text[nosuch]text[ ]"},
    {"unknown at the end vanishes", unknown, u"a&nosuch", u"text[a]entity[nosuch]"},
    {"a bare & is text", unknown, u"a & b", u"text[a ]entity[]text[&]text[]text[ b]"},
    {"a bare & at the end vanishes", unknown, u"a&", u"text[a]"},
    {"an & ends an entity", unknown, u"&a&b;", u"text[]entity[a]text[&]text[a]text[]entity[b]"},
    {"nothing before the semicolon", unknown, u"&;a", u"text[]entity[]text[a]"},
    {"letters of all scripts", unknown, u"&\u00e4\u0663#-",
     u"text[]entity[\u00e4\u0663#]text[&]text[\u00e4\u0663#]text[-]"},
    {"unreadable stays, semicolon and all", unreadable, u"&#\u0663;b",
     u"text[]entity[#\u0663]text[&]text[#\u0663]text[;b]"},
    {"unreadable stays at the end", unreadable, u"&#\u0663", u"text[]entity[#\u0663]text[&]text[#\u0663]"},
};

TEST(parse, asks_what_an_entity_means) {
    for (const auto& c : entity_cases) {
        SCOPED_TRACE(c.label);
        event_log log(c.answer);
        parse(c.html, log);
        EXPECT_EQ(log.events, c.events);
    }
}

} // namespace
} // namespace tackle::html
