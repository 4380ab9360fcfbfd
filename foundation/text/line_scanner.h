#pragma once

#include "foundation/text/text.h"

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

// Inline for bodies of nothing but line ends, where the calls would be most of the work.
inline bool line_scanner::next(string_view& line) noexcept {
    if (done_) return false;
    const auto is_end = [this](std::size_t at) { return text_[at] == '\r' || text_[at] == '\n'; };
    const bool empty = position_ < text_.size() && is_end(position_);
    const std::size_t end = empty ? position_ : find_line_end(text_, position_);
    line = {text_.data() + position_, end - position_};
    position_ = end;
    if (end == text_.size()) {
        done_ = true;
        return true;
    }
    ++position_;
    // The other one of the two makes a pair with the first, the same one ends a line of its own.
    if (position_ < text_.size() && (text_[end] ^ text_[position_]) == ('\r' ^ '\n')) ++position_;
    return true;
}

} // namespace tackle
