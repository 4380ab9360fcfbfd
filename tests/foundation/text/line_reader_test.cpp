#include "foundation/text/line_buffer.h"
#include "foundation/text/line_reader.h"
#include "foundation/text/line_scanner.h"

#include <gtest/gtest.h>
#include <vector>

namespace tackle {
namespace {

using lines = std::vector<string>;

struct line_case {
    const char* label;
    string text;
    lines expected;
};

const string long_line(100, 'x');

const line_case cases[] = {
    {"empty", "", {""}},
    {"no end", "abc", {"abc"}},
    {"CRLF", "a\r\nb", {"a", "b"}},
    {"CRLF at the end", "a\r\n", {"a", ""}},
    {"two LF", "a\n\nb", {"a", "", "b"}},
    {"two CR", "a\r\rb", {"a", "", "b"}},
    {"LFCR", "a\n\rb", {"a", "b"}},
    {"CR CRLF", "a\r\r\nb", {"a", "", "b"}},
    {"CRLF LF", "a\r\n\nb", {"a", "", "b"}},
    {"CRLF CRLF", "a\r\n\r\nb", {"a", "", "b"}},
    {"LF CRLF pairs from the left", "a\n\r\nb", {"a", "", "b"}},
    {"half a pair at the end", "a\r\n\r", {"a", "", ""}},
    {"only ends", "\r\n", {"", ""}},
    {"NUL is a byte", string("a\0b\nc", 5), {string("a\0b", 3), "c"}},
    {"neighbours of CR and LF", "\x09\x0B\x0C\x0E\x8A\x8D\n", {"\x09\x0B\x0C\x0E\x8A\x8D", ""}},
    {"long", long_line + "\n" + long_line + "\r\n" + long_line, {long_line, long_line, long_line}},
};

lines scanned(const string& text) {
    lines result;
    line_scanner scanner(text);
    for (string_view line; scanner.next(line);)
        result.emplace_back(line);
    return result;
}

// Hands over pieces of one size, taking what lines there are in between.
lines read_in_pieces(const string& text, std::size_t piece) {
    lines result;
    line_reader reader;
    string line;
    for (std::size_t i = 0; i < text.size(); i += piece) {
        reader.append(string_view(text).substr(i, piece));
        while (reader.next_line(line))
            result.push_back(line);
    }
    reader.set_last_line();
    while (reader.next_line(line))
        result.push_back(line);
    return result;
}

TEST(lines, end_at_cr_lf_and_pairs) {
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(scanned(c.text), c.expected);
        for (const std::size_t piece : {1, 2, 3, 64, 1000}) {
            SCOPED_TRACE(piece);
            EXPECT_EQ(read_in_pieces(c.text, piece), c.expected);
        }
    }
}

TEST(lines, are_found_at_every_place_in_a_block) {
    for (std::size_t at = 0; at < 40; ++at) {
        string text(40, 'x');
        text[at] = at % 2 == 0 ? '\r' : '\n';
        EXPECT_EQ(find_line_end(text), at);
        EXPECT_EQ(find_line_end(text, at), at);
        EXPECT_EQ(find_line_end(text, at + 1), 40U);
    }
}

TEST(line_scanner, knows_where_the_next_line_begins) {
    line_scanner scanner("a\r\nbc\nd");
    string_view line;
    EXPECT_EQ(scanner.position(), 0U);
    ASSERT_TRUE(scanner.next(line));
    EXPECT_EQ(scanner.position(), 3U);
    ASSERT_TRUE(scanner.next(line));
    EXPECT_EQ(scanner.position(), 6U);
    ASSERT_TRUE(scanner.next(line));
    EXPECT_EQ(scanner.position(), 7U);
    EXPECT_FALSE(scanner.next(line));
    EXPECT_EQ(line, "d");
}

TEST(line_reader, gives_a_rest_only_as_last_line) {
    line_reader reader("a\nb");
    string line;
    ASSERT_TRUE(reader.next_line(line));
    EXPECT_FALSE(reader.next_line(line));
    EXPECT_EQ(line, "a");
    reader.set_last_line();
    reader.append("c"); // not the last one after all
    EXPECT_FALSE(reader.next_line(line));
    reader.set_last_line();
    ASSERT_TRUE(reader.next_line(line));
    EXPECT_EQ(line, "bc");
    EXPECT_FALSE(reader.next_line(line));
    reader.append("d\n");
    ASSERT_TRUE(reader.next_line(line));
    EXPECT_EQ(line, "bcd");
}

TEST(line_buffer, ends_every_line) {
    EXPECT_EQ(line_buffer(lines{}).read_all(), "");
    line_buffer buffer(lines{"a", "", "b"});
    buffer.append_line("c");
    EXPECT_EQ(buffer.size(), 11U);
    EXPECT_EQ(buffer.read_all(), "a\r\n\r\nb\r\nc\r\n");
    EXPECT_EQ(buffer.read_all(), "");
}

} // namespace
} // namespace tackle
