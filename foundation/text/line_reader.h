#pragma once

#include "foundation/text/text.h"

#include <cstddef>
#include <utility>

namespace tackle {

// Splits bytes that arrive piece by piece into lines, by the rules of line_scanner; for a text that is complete and
// stays where it is, that class does without copies. A pair of CR and LF may be torn between two pieces.
class line_reader {
public:
    line_reader() = default;
    explicit line_reader(string text) : buffer_(std::move(text)) {}

    // Adds text at the end, and takes set_last_line back. A last line that was given out already is still part of the
    // line that goes on.
    void append(string_view text);
    // Says that the text is complete: what stands behind the last line end is the last line, also if it is empty.
    void set_last_line() noexcept { last_line_ = true; }
    // The next line without its end. False when no whole line is left; `line` is then left alone.
    bool next_line(string& line);

private:
    string buffer_;
    std::size_t position_ = 0;   // all before it has been looked at
    std::size_t line_start_ = 0; // all before it has been given out
    char pending_end_ = 0;       // the line end right before position_ that waits for its other half, or 0
    bool last_line_ = false;
};

} // namespace tackle
