#include "platform/code_page.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tackle::platform {
namespace {

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
        {"Cyrillic for mail", 20866, "\xF0\xD2\xC9", u"\u041F\u0440\u0438"},
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
        {"nothing", 932, "", u""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::u16string units = u"left over";
        const auto status = widen(c.code_page, c.bytes, true, units);
        EXPECT_EQ(status, c.units ? conversion::ok : conversion::unmappable);
        if (c.units) {
            EXPECT_EQ(units, *c.units);
        }
    }
}

// Ends in ASCII: the two targets disagree about a text that breaks off.
TEST(widen, replaces_what_is_no_utf8) {
    const widen_case cases[] = {
        {"two, three and four bytes", 0, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80!", u"\u00E9\u20AC\U0001F600!"},
        {"the ends of the ranges", 0, "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF4\x8F\xBF\xBF!",
         u"\u0080\u07FF\u0800\uFFFF\U0010FFFF!"},
        {"continuation bytes alone", 0, "\x80\xBF!", u"\uFFFD\uFFFD!"},
        {"bytes that never occur", 0, "\xC0\xC1\xF5\xFF!", u"\uFFFD\uFFFD\uFFFD\uFFFD!"},
        {"a prefix is one", 0, "\xE2\x82!!!\xF0\x9F\x98!!!", u"\uFFFD!!!\uFFFD!!!"},
        {"a new lead byte cuts", 0, "\xE2\xC3\xA9!!", u"\uFFFD\u00E9!!"},
        {"a new lead byte cuts before the last", 0, "\xE2\x82\xC3\xA9!!", u"\uFFFD\u00E9!!"},
        {"surrogate", 0, "\xED\xA0\x80!!", u"\uFFFD\uFFFD!!"},
        {"overlong", 0, "\xE0\x80\xAF!!", u"\uFFFD\uFFFD!!"},
    };
    const std::string cyrillic = "\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F"
                                 "\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F\xD1\x8F";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        // Decoders take text in blocks: the same has to come out wherever a block begins and ends.
        for (std::size_t at = 0; at < 34; ++at) {
            const std::string before = std::string(at % 2, 'x') + cyrillic.substr(0, at / 2 * 2);
            std::u16string units;
            EXPECT_EQ(widen(65001, before + c.bytes + std::string(34, 'x'), false, units), conversion::ok);
            EXPECT_EQ(units, std::u16string(at % 2, u'x') + std::u16string(at / 2, u'\u044F') + *c.units +
                                 std::u16string(34, u'x'));
        }
    }
}

struct narrow_case {
    const char* label;
    std::uint32_t code_page;
    std::u16string units;
    std::string bytes;
    bool used_default;
};

TEST(narrow, writes_bytes_of_a_code_page) {
    const narrow_case cases[] = {
        {"western", 1252, u"\u20AC\u00E9", "\x80\xE9", false},
        {"a character that the page lacks", 1252, u"a\u65E5b", "a?b", true},
        {"a real question mark", 1252, u"?", "?", false},
        {"EBCDIC has its own default character", 37, u"A\u65E5", "\xC1\x6F", true},
        {"Japanese", 932, u"\u65E5A\uFF71",
         "\x93\xFA"
         "A\xB1",
         false},
        {"the usual one of two codes", 932, u"\u2252", "\x81\xE0", false},
        {"NUL is a character", 1252, std::u16string(u"a\0b", 3), std::string("a\0b", 3), false},
        {"and no default character", 37, std::u16string(1, u'\0'), std::string(1, '\0'), false},
        {"a look-alike is no default character", 932, u"\u00E9\uFF5E", "e\x81\x60", false},
        {"a look-alike that other pages have", 28591, u"\u0101\u03B1\uFF21", "a?A", true},
        {"a page without look-alikes", 10000, u"\u00E9\u0101", "\x8E?", true},
        {"lone surrogate", 1252, std::u16string(1, char16_t{0xD800}), "?", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::string bytes = "left over";
        bool used_default = !c.used_default;
        EXPECT_EQ(narrow(c.code_page, c.units, bytes, &used_default), conversion::ok);
        EXPECT_EQ(bytes, c.bytes);
        EXPECT_EQ(used_default, c.used_default);
    }
}

TEST(narrow, writes_utf8_of_any_units) {
    const std::u16string units = {u'a', 0x7FF, 0x800, 0xD83D, 0xDE00, 0xDC00, 0xD800, u'b', 0xD800};
    std::string bytes;
    EXPECT_EQ(narrow(65001, units, bytes, nullptr), conversion::ok);
    EXPECT_EQ(bytes, "a\xDF\xBF\xE0\xA0\x80\xF0\x9F\x98\x80\xEF\xBF\xBD\xEF\xBF\xBD"
                     "b\xEF\xBF\xBD");
}

TEST(code_page, refuses_pages_that_nobody_has) {
    for (const std::uint32_t page : {9999u, 1200u, 12000u, 28590u, 0xFFFFFFFEu}) {
        SCOPED_TRACE(page);
        std::u16string units;
        std::string bytes;
        EXPECT_EQ(widen(page, "a", true, units), conversion::invalid_code_page);
        EXPECT_EQ(narrow(page, u"a", bytes, nullptr), conversion::invalid_code_page);
    }
}

TEST(code_page, reads_and_writes_utf7) {
    const widen_case cases[] = {
        {"what the standard has", 0, "1 +- 1 +AOk-!+2D3eAA-", u"1 + 1 \u00E9!\U0001F600"},
        {"what it does not admit", 0, std::string("\\~\0\x01\x7F", 5), std::u16string(u"\\~\0\x01\x7F", 5)},
        {"8-bit text", 0, "+AOk\xE9", u"\u00E9\u00E9"},
        {"no minus at the end", 0, "+AOk.+AOkA", u"\u00E9.\u00E9"},
        {"left-over bits are dropped", 0, "+AO.+AOk-", u".\u00E9"},
        {"but not in front of 8-bit text", 0, "+AO\xE9+AOk-", u"\u00E9\u00E0"},
        {"shifts alone", 0, "+", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::u16string units;
        EXPECT_EQ(widen(65000, c.bytes, false, units), c.units ? conversion::ok : conversion::failed);
        if (!c.units) continue;
        EXPECT_EQ(units, *c.units);
        std::string bytes;
        EXPECT_EQ(narrow(65000, units, bytes, nullptr), conversion::ok);
        EXPECT_EQ(widen(65000, bytes, false, units), conversion::ok);
        EXPECT_EQ(units, *c.units);
    }

    std::string bytes;
    EXPECT_EQ(narrow(65000, u"\u00E9!~+~a+b", bytes, nullptr), conversion::ok);
    EXPECT_EQ(bytes, "+AOkAIQB+-+-+AH4-a+-b");
}

// Not every system has these; whoever has them reads and writes them alike.
TEST(code_page, keeps_to_shift_states_and_long_sequences) {
    const widen_case cases[] = {
        {"ISO-2022-JP", 50221, "\x1B$BF|K\\\x1B(B!", u"\u65E5\u672C!"},
        {"HZ", 52936, "~{VPND~}!", u"\u4E2D\u6587!"},
        {"GB18030, four bytes", 54936, "\xD6\xD0\x94\x39\xDA\x33!", u"\u4E2D\U0001F4A9!"},
        {"EUC-JP", 51932, "\xC6\xFC\xCB\xDC!", u"\u65E5\u672C!"},
        {"CNS 11643, second plane", 20000, "\xA1\x21\xA1\x23!", u"\u4E42\u51F5!"},
        {"Eten's signs in Big5", 20002, "\xC6\xA1!", u"\u2460!"},
        {"an accent in front of its letter", 20261, "\xC2\x65!", u"\u00E9!"},
        {"an accent by itself", 20269, "\xC2!", u"\u0301!"},
        {"EBCDIC with Latin 9", 20924, "\x9F\x6A", u"\u20AC\u0160"},
        {"nothing but ASCII is known of it", 29001, "[$]", u"[$]"},
        {"Devanagari", 57002, "\xB3!", u"\u0915!"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::u16string units;
        std::string bytes;
        const auto status = widen(c.code_page, c.bytes, false, units);
        if (status == conversion::invalid_code_page) continue;
        EXPECT_EQ(status, conversion::ok);
        EXPECT_EQ(units, *c.units);
        EXPECT_EQ(narrow(c.code_page, units, bytes, nullptr), conversion::ok);
        EXPECT_EQ(widen(c.code_page, bytes, false, units), conversion::ok);
        EXPECT_EQ(units, *c.units);
        EXPECT_EQ(widen(c.code_page, "cut off \x1B", false, units), conversion::ok); // lenient, whatever it gives
    }
}

// A converter may take invisible characters for none at all; a name in which they vanish would count as written whole.
TEST(code_page, keeps_no_secret_of_a_lost_joiner) {
    std::string bytes;
    bool used_default = false;
    if (narrow(51932, u"a\u200Db", bytes, &used_default) == conversion::invalid_code_page) return;
    EXPECT_EQ(bytes, "a?b");
    EXPECT_TRUE(used_default);
}

// Their tables are built by whoever comes first.
TEST(code_page, is_used_by_many_threads_at_once) {
    std::vector<std::thread> threads;
    std::vector<std::string> results(8);
    for (auto& result : results) {
        threads.emplace_back([&result] {
            std::u16string units;
            for (const std::uint32_t page : {1253u, 28592u, 949u, 65000u})
                if (widen(page, "plain", page != 65000, units) == conversion::ok &&
                    narrow(page, units, result, nullptr) != conversion::ok) {
                    result.clear();
                }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(results, std::vector<std::string>(8, "plain"));
}

} // namespace
} // namespace tackle::platform
