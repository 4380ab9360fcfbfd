#include "language/language_name.h"
#include "language/plugins/ankiro.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using namespace brimwarden::language;
using tackle::wstring;

constexpr std::uint32_t german = 1031, english = 2057, greek = 1032, russian = 1049;

// A dictionary of a few words, so that every count can be made by hand. All prefixes are zero.
const dictionary_row small_index[] = {
    {german, "\006garten\004hand\004haus\006\303\244rger"}, // aerger with its umlaut
    {english, "\006garden\004hand\005house\006\316\264\316\265\316\266"},
    {greek, "\006\316\261\316\262\316\263"},
    {0, nullptr},
};

struct found {
    result_map results;
    std::uint64_t target = 0;
    std::vector<wstring> lines;
};

found detect(const plugins::generic::plugin& plugin, const wstring& text) {
    found result;
    brimwarden::analysis::trace_list trace;
    plugin.detect(text, result.results, result.target, trace);
    for (std::size_t line = 0; line < trace.size(); ++line)
        result.lines.push_back(wstring(trace[line].indent, u'>') += trace[line].text);
    return result;
}

wstring repeat(wstring text, int times) {
    wstring result;
    while (times-- > 0)
        result += text;
    return result;
}

TEST(language_detection, counts_letters_and_keeps_the_languages_that_stand_out) {
    const plugins::ankiro::plugin plugin(small_index);
    const struct {
        const char* label;
        wstring text;
        std::uint64_t target;
        result_map expected;
    } cases[] = {
        {"no text", u"", 0, {}},
        {"15 letters are too few", u"garden garden and", 15, {}},
        {"16 letters; 16 and 4 cut at 13", u"garden garden hand", 16, {{english, 16}}},
        {"a word of two languages counts for both", u"hand hand hand hand", 16, {{german, 16}, {english, 16}}},
        {"no known word", u"lorem ipsum dolor sit amet", 22, {}},
        {"one letter apart: the mean is rounded down, both stay",
         repeat(u"α", 20) + u" " + repeat(u"я", 19),
         39,
         {{greek, 20}, {russian, 19}}},
        {"two letters apart: the mean is the cut", repeat(u"α", 20) + u" " + repeat(u"я", 18), 38, {{greek, 20}}},
        {"30, 29 and 1 cut at 25",
         repeat(u"α", 30) + u" " + repeat(u"я", 29) + u" ก",
         60,
         {{greek, 30}, {russian, 29}}},
        {"30, 20 and 10 cut at 25", repeat(u"α", 30) + repeat(u"я", 20) + repeat(u"ก", 10), 60, {{greek, 30}}},
        {"a tenth of the letters", u"garden garden hand " + repeat(u"x", 144), 160, {{english, 16}}},
        {"less than a tenth of the letters", u"garden garden hand " + repeat(u"x", 145), 161, {}},
        {"a Greek word in English", u"δεξιά " + repeat(u"garden ", 20), 125, {{english, 120}}},
        {"digits and punctuation join", u"ga1rden gar'den\u2019 (ha-nd)", 16, {{english, 16}}},
        {"control characters and odd spaces cut", u"garden\u0001garden\u00A0garden\u3000garden", 24, {{english, 24}}},
        {"A to Z fold", u"GARDEN Garden gARDEN", 18, {{english, 18}}},
        {"capitals outside of ASCII do not fold", u"ÄRGER ÄRGER ÄRGER ÄRGER", 20, {}},
        {"A to Z beside a small accented letter fold", u"äRGER ärger ÄRGER ärger", 20, {{german, 15}}},
        {"a decomposed letter is another", u"a\u0308rger a\u0308rger a\u0308rger a\u0308rger", 20, {}},
        {"a word that only begins like a known one", repeat(u"garden", 6), 36, {}},
        {"a word in the script of its language counts once", repeat(u"αβγ ", 6), 18, {{greek, 18}}},
        {"a word of another language counts for it and for its script",
         repeat(u"δεζ ", 6),
         18,
         {{greek, 18}, {english, 18}}},
        {"scripts alternate inside a word", repeat(u"αя", 8), 16, {{greek, 8}, {russian, 8}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const found result = detect(plugin, c.text);
        EXPECT_EQ(result.results, c.expected);
        EXPECT_EQ(result.target, c.target);
    }
}

// Rows that look like mistakes and are not, and the units at the ends of some ranges.
TEST(language_detection, knows_scripts_by_unit) {
    const plugins::ankiro::plugin plugin(small_index);
    const std::map<char16_t, std::uint32_t> language_of = {
        {0x0531, 1067}, {0x05D0, 1037}, {0xFB1F, 1067}, {0xFB50, 1025}, {0xFEFC, 1025}, {0x0710, 1114}, {0x111F, 1042},
        {0x1121, 0},    {0xD7A3, 1042}, {0xFF66, 1041}, {0xFFA1, 1042}, {0x31A0, 2052}, {0x31F0, 1041}, {0x3400, 1028},
        {0x4E00, 1028}, {0x9FA5, 1028}, {0x1820, 2128}, {0x0F40, 2129}, {0x1200, 1118}, {0x1EA1, 0}, // Vietnamese
        {0x1F00, 1032}, {0xFFFF, 0}};
    for (const auto& [unit, lcid] : language_of) {
        const auto results = detect(plugin, wstring(16, unit)).results;
        EXPECT_EQ(results, lcid == 0 ? result_map() : result_map({{lcid, 16}})) << std::hex << unsigned{unit};
    }
}

TEST(language_detection, explains_itself) {
    const plugins::ankiro::plugin plugin(small_index);
    EXPECT_EQ(detect(plugin, u"hand hand hand hand garten").lines,
              (std::vector<wstring>{u"Language Detection:", u">100% German -- Matched: 22, Target: 22, LCID: 1031"}));
    EXPECT_EQ(detect(plugin, u"hand hand hand hand quux").lines,
              (std::vector<wstring>{u"Language Detection:", u">80% German -- Matched: 16, Target: 20, LCID: 1031",
                                    u">80% English -- Matched: 16, Target: 20, LCID: 2057"}));
    EXPECT_EQ(detect(plugin, u"garden 12 gar").lines,
              (std::vector<wstring>{u"Language Detection:", u">Insufficient or ambigious input data (9 characters)."}));
}

TEST(language_detection, supports_31_languages) {
    std::set<std::uint32_t> languages{7};
    plugins::ankiro::plugin().supported_languages(languages);
    EXPECT_EQ(languages, (std::set<std::uint32_t>{1025, 1028, 1029, 1030, 1031, 1032, 1035, 1036, 1037, 1038, 1040,
                                                  1041, 1042, 1043, 1044, 1045, 1046, 1049, 1053, 1054, 1055, 1066,
                                                  1067, 1114, 1118, 2052, 2057, 2070, 2128, 2129, 3082}));
    // The two targets tell a name from different sources, and the trace is to be the same.
    for (const std::uint32_t lcid : languages) {
        EXPECT_FALSE(tabled_name(lcid).empty()) << lcid;
        EXPECT_EQ(english_name(lcid), tabled_name(lcid)) << lcid;
    }
    EXPECT_TRUE(english_name(0xFFFFFFFF).empty());
}

} // namespace
