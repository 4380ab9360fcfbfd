#include "platform/code_page.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tackle::platform {
namespace {

#ifdef _WIN32
constexpr bool may_lack_pages = true; // Wine has no tables for some of them
#else
constexpr bool may_lack_pages = false;
#endif

struct widen_case {
    const char* label;
    std::uint32_t code_page;
    std::string bytes;
    std::optional<std::u16string> units; // none: unmappable
};

TEST(widen, reads_bytes_of_a_code_page) {
    const widen_case cases[] = {
        {"euro sign of western Windows", 1252, "\x80 A", u"\u20AC A"},
        {"the system's page", 0, "caf\xE9", u"caf\u00E9"},
        {"the page of its consoles", 1, "caf\x82", u"caf\u00E9"},
        {"Macintosh's page", 2, "caf\x8E", u"caf\u00E9"},
        {"the thread's page", 3, "caf\xE9", u"caf\u00E9"},
        {"Cyrillic", 1251, "\xCF\xF0\xE8", u"\u041F\u0440\u0438"},
        {"Latin-9", 28605, "\xA4", u"\u20AC"},
        {"a byte without meaning", 874, "\xDB", std::nullopt},
        {"EBCDIC", 37, "\xC1\x40\xF1", u"A 1"},
        {"control characters that IBM exchanged", 437, "\x1A\x1C\x7F", u"\x1A\x1C\x7F"},
        {"Japanese", 932, "\x93\xFA\x96\x7B\xB1", u"\u65E5\u672C\uFF71"},
        {"Japanese, lead byte at the end", 932, "A\x93", std::nullopt},
        {"Japanese, no such trail byte", 932, "\x93\x20", std::nullopt},
        {"Chinese", 936, "\xD6\xD0\xCE\xC4", u"\u4E2D\u6587"},
        {"traditional Chinese, trail byte in ASCII", 950, "\xA4\xA4\xA5\x5C", u"\u4E2D\u529F"},
        {"Korean", 949, "\xB0\xA1\x81\x41", u"\uAC00\uAC02"},
        {"Korean in Johab: syllables, Chinese characters", 1361, "\xD0\x65\x8B\x69 \xE2\xD0", u"\uD55C\uAE00 \u570B"},
        {"Japanese, second plane", 20932, "\xB0\x21\xB0\xA1", u"\u4E02\u4E9C"},
        {"NUL is a character", 1252, std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
    };
    for (const auto& c : cases) {
        std::u16string units = u"left over";
        const auto status = widen(c.code_page, c.bytes, true, units);
        EXPECT_EQ(status, c.units ? conversion::ok : conversion::unmappable) << c.label;
        EXPECT_EQ(units, c.units.value_or(units)) << c.label;
    }
}

// Ends in ASCII: the two targets disagree about a text that breaks off.
TEST(widen, replaces_what_is_no_utf8) {
    const widen_case cases[] = {
        {"two, three and four bytes", 0, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80!", u"\u00E9\u20AC\U0001F600!"},
        {"the ends of the ranges", 0, "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF!",
         u"\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF!"},
        {"next to the surrogates", 0, "\xED\x9F\xBF\xEE\x80\x80!", u"\uD7FF\uE000!"},
        {"continuation bytes alone", 0, "\x80\xBF!", u"\uFFFD\uFFFD!"},
        {"bytes that never occur", 0, "\xC0\xC1\xF5\xFF!", u"\uFFFD\uFFFD\uFFFD\uFFFD!"},
        {"a sequence that breaks off becomes one unit", 0, "\xE2\x82!!!\xF0\x9F\x98!!!", u"\uFFFD!!!\uFFFD!!!"},
        {"a lead byte after a lead byte", 0, "\xE2\xC3\xA9!!", u"\uFFFD\u00E9!!"},
        {"a lead byte before the last byte", 0, "\xE2\x82\xC3\xA9!!", u"\uFFFD\u00E9!!"},
        {"a surrogate", 0, "\xED\xA0\x80!!", u"\uFFFD\uFFFD!!"},
        {"an overlong form", 0, "\xE0\x80\xAF!!", u"\uFFFD\uFFFD!!"},
    };
    for (const auto& c : cases) {
        // Decoders take text in blocks: the same has to come out wherever a block begins and ends.
        std::string before;
        std::u16string expected;
        for (int at = 0; at < 34; ++at) {
            std::u16string units;
            EXPECT_EQ(widen(65001, before + c.bytes + std::string(34, 'x'), false, units), conversion::ok);
            EXPECT_EQ(units, expected + *c.units + std::u16string(34, u'x')) << c.label;
            before += at % 2 == 0 ? "x" : "\xD1\x8F";
            expected += at % 2 == 0 ? u'x' : u'\u044F';
        }
    }
}

TEST(narrow, writes_bytes_of_a_code_page) {
    const struct {
        const char* label;
        std::uint32_t code_page;
        std::u16string units;
        std::string bytes;
        bool used_default;
    } cases[] = {
        {"western", 1252, u"\u20AC\u00E9", "\x80\xE9", false},
        {"a character that the page lacks", 1252, u"a\u65E5b", "a?b", true},
        {"a real question mark", 1252, u"?", "?", false},
        {"EBCDIC has its own default character", 37, u"A\u65E5", "\xC1\x6F", true},
        {"Japanese", 932, u"\u65E5A\uFF71", "\x93\xFA\x41\xB1", false},
        {"the usual one of two codes", 932, u"\u2252", "\x81\xE0", false},
        {"NUL is a character", 1252, std::u16string(u"a\0b", 3), std::string("a\0b", 3), false},
        {"NUL is no default character of EBCDIC", 37, std::u16string(1, u'\0'), std::string(1, '\0'), false},
        {"a look-alike is no default character", 932, u"\u00E9\uFF5E", "e\x81\x60", false},
        {"a look-alike that other pages have", 28591, u"\u0101\u03B1\uFF21", "a?A", true},
        {"a page without look-alikes", 10000, u"\u00E9\u0101", "\x8E?", true},
        {"lone surrogate", 1252, std::u16string(1, char16_t{0xD800}), "?", true},
        {"a page of sequences", 51932, u"\u65E5!", "\xC6\xFC!", false},
        // ICU takes it for no character at all, and a name in which it vanishes would count as written whole.
        {"an invisible character that a page of sequences lacks", 51932, u"a\u200Db", "a?b", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::string bytes = "left over";
        bool used_default = !c.used_default;
        const auto status = narrow(c.code_page, c.units, bytes, &used_default);
        if (status == conversion::invalid_code_page && c.code_page == 51932 && may_lack_pages) continue;
        EXPECT_EQ(status, conversion::ok);
        EXPECT_EQ(bytes, c.bytes);
        EXPECT_EQ(used_default, c.used_default);
    }
}

TEST(narrow, writes_utf8_of_any_units) {
    const std::u16string units = {u'a',   0x7FF,  0x800,  0xD7FF, 0xE000, 0xD800, 0xDC00,
                                  0xDBFF, 0xDFFF, 0xDC00, 0xD800, u'b',   0xD800};
    std::string bytes;
    EXPECT_EQ(narrow(65001, units, bytes, nullptr), conversion::ok);
    EXPECT_EQ(bytes, "a\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"
                     "\xEF\xBF\xBD\xEF\xBF\xBD"
                     "b\xEF\xBF\xBD");
}

TEST(code_page, refuses_pages_that_nobody_has) {
    for (const std::uint32_t page : {9999u, 1200u, 28590u, 0xFFFFFFFEu}) {
        std::u16string units;
        std::string bytes;
        EXPECT_EQ(widen(page, "a", true, units), conversion::invalid_code_page) << page;
        EXPECT_EQ(narrow(page, u"a", bytes, nullptr), conversion::invalid_code_page) << page;
    }
}

// Reads the bytes, writes what came of them, and reads that.
TEST(code_page, comes_back_from_what_it_wrote) {
    const widen_case cases[] = {
        {"UTF-7: what the standard has", 65000, "1 +- 1 +AOk-!+2D3eAA-", u"1 + 1 \u00E9!\U0001F600"},
        {"UTF-7: what the standard forbids", 65000, std::string("\\~\0\x01\x7F", 5),
         std::u16string(u"\\~\0\x01\x7F", 5)},
        {"UTF-7: 8-bit text", 65000, "+AOk\xE9", u"\u00E9\u00E9"},
        {"UTF-7: no minus at the end", 65000, "+AOk.+AOkA", u"\u00E9.\u00E9"},
        {"UTF-7: left-over bits are dropped", 65000, "+AO.+AOk-", u".\u00E9"},
        {"UTF-7: left-over bits before 8-bit text stay", 65000, "+AO\xE9+AOk-", u"\u00E9\u00E0"},
        {"ISO-2022-JP", 50221, "\x1B$BF|K\\\x1B(B!", u"\u65E5\u672C!"},
        {"HZ", 52936, "~{VPND~}!", u"\u4E2D\u6587!"},
        {"GB18030, four bytes", 54936, "\xD6\xD0\x94\x39\xDA\x33!", u"\u4E2D\U0001F4A9!"},
        {"EUC-JP", 51932, "\xC6\xFC\xCB\xDC!", u"\u65E5\u672C!"},
        {"CNS 11643, second plane", 20000, "\xA1\x21\xA1\x23!", u"\u4E42\u51F5!"},
        {"Eten's signs in Big5", 20002, "\xC6\xA1!", u"\u2460!"},
        {"an accent in front of its letter", 20261, "\xC2\x65!", u"\u00E9!"},
        {"an accent by itself", 20269, "\xC2!", u"\u0301!"},
        {"EBCDIC with Latin 9", 20924, "\x9F\x6A", u"\u20AC\u0160"},
        {"a page of which only ASCII is known", 29001, "[$]", u"[$]"},
        {"Devanagari", 57002, "\xB3!", u"\u0915!"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::u16string units;
        std::string bytes;
        const auto status = widen(c.code_page, c.bytes, false, units);
        if (status == conversion::invalid_code_page && c.code_page != 65000 && may_lack_pages) continue;
        EXPECT_EQ(status, conversion::ok);
        EXPECT_EQ(units, *c.units);
        EXPECT_EQ(narrow(c.code_page, units, bytes, nullptr), conversion::ok);
        EXPECT_EQ(widen(c.code_page, bytes, false, units), conversion::ok);
        EXPECT_EQ(units, *c.units);
        EXPECT_EQ(widen(c.code_page, "cut off \x1B", false, units), conversion::ok); // lenient, whatever it gives
    }
    std::u16string units;
    EXPECT_EQ(widen(65000, "+", false, units), conversion::failed); // bytes that only shift
    std::string bytes;
    EXPECT_EQ(narrow(65000, u"\u00E9!~+~a+b", bytes, nullptr), conversion::ok);
    EXPECT_EQ(bytes, "+AOkAIQB+-+-+AH4-a+-b");
}

// Their tables are built by whoever comes first.
TEST(code_page, is_used_by_many_threads_at_once) {
    std::vector<std::string> results(8);
    {
        std::vector<std::jthread> threads;
        for (auto& result : results)
            threads.emplace_back([&result] {
                std::u16string units;
                for (const std::uint32_t page : {1253u, 28592u, 949u})
                    if (widen(page, "plain", true, units) != conversion::ok ||
                        narrow(page, units, result, nullptr) != conversion::ok)
                        return result.clear();
            });
    }
    EXPECT_EQ(results, std::vector<std::string>(8, "plain"));
}

} // namespace
} // namespace tackle::platform
