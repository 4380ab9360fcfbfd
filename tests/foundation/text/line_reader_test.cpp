#include "foundation/text/line_buffer.h"
#include "foundation/text/line_reader.h"
#include "foundation/text/line_scanner.h"

#include <gtest/gtest.h>
#include <vector>

namespace tackle {
namespace {

using lines = std::vector<string>;

lines scanned(const string& text) {
    lines result;
    line_scanner scanner(text);
    string_view line;
    for (auto begin = scanner.position(); scanner.next(line); begin = scanner.position()) {
        EXPECT_EQ(static_cast<std::size_t>(line.data() - text.data()), begin);
        result.emplace_back(line);
    }
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
    const string long_line(100, 'x');
    const struct {
        const char* label;
        string text;
        lines expected;
    } cases[] = {
        {"empty", "", {""}},
        {"no end", "abc", {"abc"}},
        {"CRLF, also at the end", "a\r\nb\r\n", {"a", "b", ""}},
        {"two LF", "a\n\nb", {"a", "", "b"}},
        {"two CR", "a\r\rb", {"a", "", "b"}},
        {"LFCR", "a\n\rb", {"a", "b"}},
        {"CR CRLF", "a\r\r\nb", {"a", "", "b"}},
        {"CRLF LF", "a\r\n\nb", {"a", "", "b"}},
        {"LF CRLF pairs from the left", "a\n\r\nb", {"a", "", "b"}},
        {"half a pair at the end", "a\r\n\r", {"a", "", ""}},
        {"NUL is a byte", string("a\0b\nc", 5), {string("a\0b", 3), "c"}},
        {"neighbours of CR and LF", "\x09\x0B\x0C\x0E\x8A\x8D\n", {"\x09\x0B\x0C\x0E\x8A\x8D", ""}},
        {"long", long_line + "\n" + long_line + "\r\n" + long_line, {long_line, long_line, long_line}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(scanned(c.text), c.expected);
        for (const std::size_t piece : {1, 2, 3, 64, 1000})
            EXPECT_EQ(read_in_pieces(c.text, piece), c.expected) << "pieces of " << piece;
    }
}

TEST(lines, are_found_at_every_place_in_a_block) {
    for (std::size_t at = 0; at < 40; ++at) {
        string text(40, 'x');
        text[at] = at % 2 == 0 ? '\r' : '\n';
        EXPECT_EQ(find_line_end(text, at), at);
        EXPECT_EQ(find_line_end(text, at + 1), 40U);
    }
}

TEST(line_reader, gives_a_rest_only_as_last_line) {
    line_reader reader("a\nb");
    string line;
    ASSERT_TRUE(reader.next_line(line));
    EXPECT_FALSE(reader.next_line(line));
    EXPECT_EQ(line, "a");
    reader.set_last_line();
    ASSERT_TRUE(reader.next_line(line));
    EXPECT_EQ(line, "b");
    reader.set_last_line();
    reader.append("c"); // not the last one after all
    EXPECT_FALSE(reader.next_line(line));
    reader.append("d\n");
    ASSERT_TRUE(reader.next_line(line));
    EXPECT_EQ(line, "bcd");
}

TEST(line_buffer, ends_every_line) {
    line_buffer buffer(lines{"a", "", "b"});
    buffer.append_line("c");
    EXPECT_EQ(buffer.size(), 11U);
    EXPECT_EQ(buffer.read_all(), "a\r\n\r\nb\r\nc\r\n");
    EXPECT_EQ(buffer.read_all(), "");
}

} // namespace
} // namespace tackle
