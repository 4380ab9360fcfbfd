#include "html/reader.h"

#include <gtest/gtest.h>

namespace tackle::html {
namespace {

// Writes down the events of a parse in their order, each with its text in brackets.
class event_log final : public reader {
public:
    explicit event_log(entity_answer answer) : answer_(answer) {}

    wstring events;
    std::size_t length = SIZE_MAX;

    void on_begin(std::size_t units) override { length = units; }
    void on_tag(wstring_view name) override { add(u"tag", name); }
    void on_tag_end(wstring_view name) override { add(u"end", name); }
    void on_attribute(wstring_view name, wstring_view value) override {
        add(u"attr", wstring(name) + u"|" + wstring(value));
    }
    void on_flag_attribute(wstring_view name) override { add(u"flag", name); }
    void on_text(wstring_view text) override { add(u"text", text); }
    entity_answer on_entity(wstring_view name) override {
        add(u"entity", name);
        return answer_;
    }

private:
    void add(wstring_view event, wstring_view text) { ((events += event) += u'[') += wstring(text) + u']'; }

    entity_answer answer_;
};

constexpr auto unknown = entity_answer::unknown;
constexpr auto understood = entity_answer::understood;
constexpr auto unreadable = entity_answer::unreadable;

TEST(parse, reports_what_it_meets) {
    const struct {
        const char* label;
        wstring_view html;
        wstring_view events;
        entity_answer answer = understood;
    } cases[] = {
        {"nothing", u"", u""},
        {"a stray > is text", u"a>b", u"text[a>b]"},
        {"empty text before a tag", u"<b>x</b>", u"text[]tag[b]end[b]text[x]tag[/b]end[/b]"},
        {"a comment ends at the first >", u"<!-- a > b -->c", u"text[]tag[!--]flag[a]flag[]end[!--]text[ b -->c]"},
        {"a slash without a blank belongs to the name", u"<br/>", u"text[]tag[br/]end[br/]"},
        {"a slash after a blank is no part of the name", u"<br />", u"text[]tag[br]end[br]"},
        {"a < before a blank has an empty name", u"1 < 2>3", u"text[1 ]tag[]flag[2]end[]text[3]"},
        {"cut off in the name", u"a<bc", u"text[a]"},
        {"cut off after the name", u"<b ", u"text[]tag[b]"},
        {"a < inside a tag is part of it", u"<a<b>c", u"text[]tag[a<b]end[a<b]text[c]"},
        {"all kinds of white space", u"<a\tb\nc\vd\fe\rf\u00A0g>",
         u"text[]tag[a]flag[b]flag[c]flag[d]flag[e]flag[f]flag[g]end[a]"},

        {"value without quotes", u"<a b=c/d>", u"text[]tag[a]attr[b|c/d]end[a]"},
        {"value in either quotes", u"<a b='c\" d' e=\"f>'\">", u"text[]tag[a]attr[b|c\" d]attr[e|f>']end[a]"},
        {"attribute stuck to a value is not seen", u"<a b=\"c\"d=\"e\">", u"text[]tag[a]attr[b|c]end[a]"},
        {"blanks around the =", u"<a b = c>", u"text[]tag[a]flag[b]attr[|]flag[c]end[a]"},
        {"an empty value", u"<a b= c=''>", u"text[]tag[a]attr[b|]attr[c|]end[a]"},
        {"each further blank is a flag without name", u"<a  b >", u"text[]tag[a]flag[]flag[b]flag[]end[a]"},
        {"a slash ends a name", u"<a b/c=d>", u"text[]tag[a]end[a]"},
        {"an escaped quote", u"<a b='c\\'d\\\\' e>", u"text[]tag[a]attr[b|c'd\\]flag[e]end[a]"},
        {"a backslash without quotes", u"<a b=c\\'d\\>", u"text[]tag[a]attr[b|c\\'d\\]end[a]"},
        {"a name in quotes has no value", u"<a 'b\\' c'='d'>", u"text[]tag[a]flag[b' c]end[a]"},
        {"value cut off in quotes", u"<a b='c d>", u"text[]tag[a]attr[b|c d>]"},
        {"value cut off after a backslash", u"<a b='c\\", u"text[]tag[a]attr[b|c]"},
        {"value cut off without quotes", u"<a b=c", u"text[]tag[a]attr[b|c]"},
        {"tag cut off after a value", u"<a href='x'", u"text[]tag[a]attr[href|x]"},
        {"cut off before the value", u"<a href=", u"text[]tag[a]"},
        {"cut off before a quoted value", u"<a href='", u"text[]tag[a]attr[href|]"},
        {"cut off in an attribute's name", u"<a href", u"text[]tag[a]"},
        {"cut off in a quoted name", u"<a 'href", u"text[]tag[a]"},

        {"entity with a semicolon", u"x &amp; y", u"text[x ]entity[amp]text[ y]"},
        {"entity without a semicolon", u"&amp=y", u"text[]entity[amp]text[=y]"},
        {"entity at the end", u"&#65", u"text[]entity[#65]"},
        {"a bare & at the end vanishes", u"a&", u"text[a]"},
        {"unknown entity with a semicolon vanishes", u"a&nosuch;b", u"text[a]entity[nosuch]text[b]", unknown},
        {"unknown entity without one is text", u"&nosuch ", u"text[]entity[nosuch]text[&]text[nosuch]text[ ]", unknown},
        {"unknown entity at the end vanishes", u"a&nosuch", u"text[a]entity[nosuch]", unknown},
        {"a bare & is text", u"a & b", u"text[a ]entity[]text[&]text[]text[ b]", unknown},
        {"an & ends an entity", u"&a&b;", u"text[]entity[a]text[&]text[a]text[]entity[b]", unknown},
        {"an empty name with a semicolon vanishes", u"&;a", u"text[]entity[]text[a]", unknown},
        {"letters of all scripts are a name", u"&\u00e4\u0663#-",
         u"text[]entity[\u00e4\u0663#]text[&]text[\u00e4\u0663#]text[-]", unknown},
        {"unreadable entity stays, semicolon and all", u"&#\u0663;b",
         u"text[]entity[#\u0663]text[&]text[#\u0663]text[;b]", unreadable},
        {"unreadable entity stays at the end", u"&#\u0663", u"text[]entity[#\u0663]text[&]text[#\u0663]", unreadable},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        event_log log(c.answer);
        parse(c.html, log);
        EXPECT_EQ(log.events, c.events);
        EXPECT_EQ(log.length, c.html.size());
    }
}

} // namespace
} // namespace tackle::html
