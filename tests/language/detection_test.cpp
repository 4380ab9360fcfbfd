#include "language/language_name.h"
#include "language/plugins/ankiro.h"

#include <gtest/gtest.h>

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
        {"two apart: the mean is the cut", repeat(u"α", 20) + u" " + repeat(u"я", 18), 38, {{greek, 20}}},
        {"30, 29 and 1 cut at 25",
         repeat(u"α", 30) + u" " + repeat(u"я", 29) + u" ก",
         60,
         {{greek, 30}, {russian, 29}}},
        {"30, 20 and 10 cut at 25", repeat(u"α", 30) + repeat(u"я", 20) + repeat(u"ก", 10), 60, {{greek, 30}}},
        {"a tenth of the letters", u"garden garden hand " + repeat(u"x", 144), 160, {{english, 16}}},
        {"less than a tenth", u"garden garden hand " + repeat(u"x", 145), 161, {}},
        {"a Greek word in English", u"δεξιά " + repeat(u"garden ", 20), 125, {{english, 120}}},
        {"digits and punctuation join", u"ga1rden gar'den\u2019 (ha-nd)", 16, {{english, 16}}},
        {"control characters and odd spaces cut", u"garden\u0001garden\u00A0garden\u3000garden", 24, {{english, 24}}},
        {"A to Z fold", u"GARDEN Garden gARDEN", 18, {{english, 18}}},
        {"other capitals do not", u"ÄRGER ÄRGER ÄRGER ÄRGER", 20, {}},
        {"but A to Z beside a small accented letter do", u"äRGER ärger ÄRGER ärger", 20, {{german, 15}}},
        {"a decomposed letter is another", u"a\u0308rger a\u0308rger a\u0308rger a\u0308rger", 20, {}},
        {"a word that only begins like a known one", repeat(u"garden", 6), 36, {}},
        {"the letters of a known word count once for its own language", repeat(u"αβγ ", 6), 18, {{greek, 18}}},
        {"and besides for the language of their script", repeat(u"δεζ ", 6), 18, {{greek, 18}, {english, 18}}},
        {"scripts alternate inside a word", repeat(u"αя", 8), 16, {{greek, 8}, {russian, 8}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const found result = detect(plugin, c.text);
        EXPECT_EQ(result.results, c.expected);
        EXPECT_EQ(result.target, c.target);
    }
}

// The rows that somebody would want to mend, and the last unit before and the first behind some ends.
TEST(language_detection, knows_scripts_by_unit) {
    const plugins::ankiro::plugin plugin(small_index);
    const struct {
        char16_t unit;
        result_map expected;
    } cases[] = {
        {0x0531, {{1067, 16}}}, {0x05D0, {{1037, 16}}}, {0xFB1F, {{1067, 16}}}, // Hebrew by name
        {0xFB50, {{1025, 16}}}, {0xFEFC, {{1025, 16}}}, {0x0710, {{1114, 16}}},
        {0x111F, {{1042, 16}}}, {0x1121, {}}, // a jamo too many
        {0xD7A3, {{1042, 16}}}, {0xFF66, {{1041, 16}}}, {0xFFA1, {{1042, 16}}},
        {0x31A0, {{2052, 16}}}, {0x31F0, {{1041, 16}}}, {0x3400, {{1028, 16}}},
        {0x4E00, {{1028, 16}}}, {0x9FA5, {{1028, 16}}}, {0x1820, {{2128, 16}}},
        {0x0F40, {{2129, 16}}}, {0x1200, {{1118, 16}}}, {0x1EA1, {}}, // Vietnamese needs its words
        {0x1F00, {{1032, 16}}}, {0xFFFF, {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(detect(plugin, wstring(16, c.unit)).results, c.expected) << std::hex << unsigned{c.unit};
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

wstring all_different_words(std::size_t length) {
    wstring text;
    for (unsigned word = 0; text.size() < length; ++word) {
        for (unsigned rest = word; rest != 0; rest /= 26)
            text += static_cast<char16_t>(u'a' + rest % 26);
        text += u' ';
    }
    return text;
}

wstring all_units() {
    wstring text;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
        (text += static_cast<char16_t>(unit)) += unit % 5 == 0 ? u" " : u"";
    return text;
}

TEST(language_detection, survives_any_text) {
    constexpr int size = 262144;
    const struct {
        const char* label;
        wstring text;
        result_map expected;
    } cases[] = {
        {"one letter", wstring(size, u'a'), {}},
        {"one ideograph", wstring(size, 0x4E00), {{1028, size}}},
        {"one word", repeat(u"because ", size / 8), {{2057, size / 8 * 7}}},
        {"high surrogates", wstring(size, 0xD800), {}},
        {"low surrogates", wstring(size, 0xDFFF), {}},
        {"unassigned units", wstring(size, 0x0378), {}},
        {"noncharacters", wstring(size, 0xFFFE), {}},
        {"only spaces", wstring(size, u' '), {}},
        {"only combining marks", wstring(size, 0x0301), {}},
    };
    const plugins::ankiro::plugin plugin;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(detect(plugin, c.text).results, c.expected);
    }
    const wstring decomposed = repeat(u"nhu\u031B\u0303ng ngu\u031Bo\u031B\u0300i ", size / 16);
    for (const wstring& text : {all_different_words(size), all_units(), repeat(all_units(), 4), decomposed})
        EXPECT_GE(detect(plugin, text).lines.size(), 2U);
}

} // namespace
