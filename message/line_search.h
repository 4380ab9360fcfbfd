#pragma once

#include "foundation/text/text.h"

#include <cstddef>

// Searches over lines that stay where they are; the ends of lines are those of line_scanner.
namespace tackle::internet::message2 {

// A run of whole lines within a message. The last one in the bytes may be open: no line end follows it, and it can be
// empty. Bytes without open line end right after a line end, or hold no line.
struct line_stretch {
    string_view bytes;
    bool open = false;
};

// The first line that begins with `c`, which is no line end, at or behind `from`; the text's size if there is none. The
// text begins with a line.
[[nodiscard]] std::size_t find_line_with(string_view text, std::size_t from, char c) noexcept;

// The first byte from 9 to 13, the line ends among them, at or behind `from`; the text's size if there is none.
[[nodiscard]] std::size_t find_white_control(string_view text, std::size_t from) noexcept;

// The beginning of the line behind one that ends at `end`, as find_line_end gave it.
[[nodiscard]] std::size_t skip_line_end(string_view text, std::size_t end) noexcept;

// The size of the lines if each of them ended in CR LF. Exact if the text has line ends of one kind, else no less.
[[nodiscard]] std::size_t normalised_size(const line_stretch& lines) noexcept;

// Appends the lines, each with CR LF behind it.
void append_normalised(const line_stretch& lines, string& out);

} // namespace tackle::internet::message2
