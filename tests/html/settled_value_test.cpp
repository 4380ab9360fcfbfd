#include "html/settled_value.h"

#include "foundation/text/strings.h"
#include "html/entity_table.h"
#include "html/reader.h"
#include "html/unit_class.h"

#include <gtest/gtest.h>

#include <random>

namespace tackle::html {
namespace {

bool is_white(char16_t unit) { return (unit_classes()[unit] & white_unit) != 0; }

// The rules as they read, pass by pass and one converter inside the other: too slow and too deep for mail from
// strangers, and so simple that it can be checked by eye.
class literal_converter final : public reader {
public:
    wstring text;

    static wstring settle(wstring value) {
        for (;;) {
            literal_converter converter;
            parse(value, converter);
            if (converter.text == value) return value;
            value = converter.text;
        }
    }

    void on_tag(wstring_view name) override {
        tag_ = to_lower(name);
        if (tag_ == u"/body") in_body_ = false;
        if (in_body_ && (tag_ == u"p" || tag_ == u"br")) {
            text += u"\r\n";
            last_was_space_ = true;
        }
    }
    void on_tag_end(wstring_view /*name*/) override {
        if (tag_ == u"body") in_body_ = true;
    }
    void on_text(wstring_view chunk) override {
        if (!in_body_ || tag_ == u"meta" || tag_ == u"style" || tag_ == u"title") return;
        for (const auto unit : chunk) {
            if (!is_white(unit) || !last_was_space_) text += unit;
            last_was_space_ = is_white(unit);
        }
    }
    entity_answer on_entity(wstring_view name) override {
        if (!in_body_ && name.size() >= 2 && name[0] == u'#') {
            const bool hexadecimal = name[1] == u'x' || name[1] == u'X';
            if (!hexadecimal || name.size() >= 3) return entity_answer::understood;
        }
        const auto value = read_entity_name(name);
        if (value.answer == entity_answer::understood && in_body_) text += value.unit;
        return value.answer;
    }
    void on_attribute(wstring_view name, wstring_view raw) override {
        if ((tag_ != u"a" && tag_ != u"base") || to_lower(name) != u"href") return;
        auto value = to_lower(settle(wstring(raw)));
        while (!value.empty() && is_white(value.front()))
            value.erase(0, 1);
        if (value.starts_with(u"cid:") || value.starts_with(u"mid:")) return;
        if (tag_ == u"base") {
            base_ = (is_absolute(value) ? wstring() : wstring(u"http://")) + value;
            return;
        }
        on_text(u" <" + (is_absolute(value) ? wstring() : base_) + value + u"> ");
    }

private:
    wstring tag_;
    wstring base_;
    bool in_body_ = true;
    bool last_was_space_ = true;
};

const wstring_view pieces[] = {
    u"&",           u"&",           u"#",     u";",    u"x",        u"3",         u"8",          u"6",
    u"0",           u"a",           u"m",     u"p",    u"l",        u"t",         u"<",          u">",
    u"\"",          u"'",           u"\\",    u" ",    u"\t",       u"b",         u"/",          u"=",
    u"\u0661",      u"\u00e9",      u"&amp;", u"&amp", u"&lt;",     u"&#38",      u"amp;",       u"&#32;",
    u"&quot;",      u"&#x26;",      u"&LT",   u"&AMP", u"<a href=", u"<a href='", u"<a href=\"", u"a href=",
    u"<base href=", u"base href='", u"<p>",   u"<br ", u"<body>",   u"</body>",   u"<title>",    u"&gt;",
    u"http:",       u"cid:"};

// Few different pieces in one value, so that they meet again and again.
wstring random_value(std::mt19937& random) {
    std::size_t chosen[6];
    for (auto& one : chosen)
        one = random() % std::size(pieces);
    wstring value;
    for (auto length = random() % 40; length > 0; --length)
        value += pieces[random() % 4 == 0 ? random() % std::size(pieces) : chosen[random() % std::size(chosen)]];
    return value;
}

wstring random_nested_links(std::mt19937& random) {
    wstring value = u"x";
    for (auto depth = random() % 5; depth > 0; --depth) {
        const wstring quote = random() % 3 == 0 ? u"" : random() % 2 == 0 ? u"'" : u"\"";
        wstring tag = random() % 4 == 0 ? u"base" : u"a";
        tag = (random() % 3 == 0 ? u"" : random() % 3 == 0 ? u"&lt;" : u"<") + tag + u" href=" + quote;
        if (random() % 2 == 0) value = replace_all(replace_all(value, u"&", u"&amp;"), u" ", u"&#32;");
        if (random() % 2 == 0 && !quote.empty()) value = replace_all(value, quote, u"\\" + quote);
        value = tag + value + (random() % 4 == 0 ? wstring() : quote) + (random() % 4 == 0 ? u"" : u">");
        value += pieces[random() % std::size(pieces)];
        if (value.size() < 200 && random() % 3 == 0) value += value;
    }
    return value;
}

TEST(settle, gives_what_repeated_conversion_gives) {
    std::mt19937 random(20040817);
    value_settler settler;
    for (int round = 0; round < 80'000; ++round) {
        settler.limit_growth(SIZE_MAX);
        const wstring value = round % 4 == 0 ? random_nested_links(random) : random_value(random);
        ASSERT_EQ(settler.settle(value), literal_converter::settle(value)) << testing::PrintToString(value);
    }
}

// Each entity level costs four units, and each level of the quotes a backslash more.
TEST(settle, needs_no_stack_for_depth) {
    value_settler settler;
    wstring value = u"&";
    for (int depth = 0; depth < 60'000; ++depth)
        value += u"amp;";
    EXPECT_EQ(settler.settle(value + u"lt;x>y"), u"y");
    EXPECT_EQ(settler.settle(u"a" + wstring(250'000, u'&')), u"a");
    wstring nested;
    for (int depth = 250; depth > 0; --depth) {
        wstring amp = u"&";
        for (int i = 0; i < depth; ++i)
            amp += u"amp;";
        nested = amp + u"lt;a" + amp + u"#32;href=" + nested;
    }
    EXPECT_EQ(settler.settle(nested + u"x>y"), u"y");
}

// What stays of a base inside a value counts, but for its first link; beyond the limit a base is left out.
TEST(settle, limits_growth) {
    const wstring value = u"<base href='b>e'><a href=c><a href=d>";
    value_settler settler;
    settler.limit_growth(1);
    EXPECT_EQ(settler.settle(value), u"ec> ed> ");
    EXPECT_EQ(settler.settle(value), u"ec> ");
}

// Far more units of bases are written than are left. The quotes and the blank leave the reader at other places.
TEST(settle, counts_what_stays) {
    const wstring filler(3000, u'b');
    for (const wstring_view end :
         {u"", u" ", u" x", u" /", u" x=", u" x=y", u" x='", u" x='\\\\", u" \"", u"> y", u" x='>' z=\"\\\\"}) {
        wstring value = u"&lt;base href=&#39;" + filler + wstring(end) + u"&#39;>";
        for (int i = 0; i < 60; ++i)
            value += u"<a href=c'd\"e>f";
        value_settler settler;
        settler.limit_growth(0x10000);
        EXPECT_EQ(settler.settle(value), literal_converter::settle(value)) << testing::PrintToString(end);
    }
}

} // namespace
} // namespace tackle::html
