#pragma once

#include "foundation/text.h"

#include <cstddef>

namespace tackle {

// The position of the first CR or LF in `text` at or behind `from`, the text's size if there is none. Looks for both at
// once: a text with ends of one kind only costs no more than one with both.
[[nodiscard]] std::size_t find_line_end(string_view text, std::size_t from = 0) noexcept;

// Gives the lines of a complete text without their ends, as views of that text: nothing is copied, and the text has to
// outlive its lines. CRLF, LFCR, CR and LF each end one line, so CR CR and LF LF end two. What stands behind the last
// line end is a line too, also if it is empty: the empty text has one empty line, "a\r\n" has "a" and an empty one.
class line_scanner {
public:
    explicit line_scanner(string_view text) noexcept : text_(text) {}

    // The next line; false when there is none, `line` is then left alone.
    bool next(string_view& line) noexcept;
    // Where the next line begins, as a position in the text; its size when the last line, maybe empty, is still to come
    // or has been given out.
    [[nodiscard]] std::size_t position() const noexcept { return position_; }

private:
    string_view text_;
    std::size_t position_ = 0;
    bool done_ = false;
};

} // namespace tackle
