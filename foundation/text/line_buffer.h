#pragma once

#include "foundation/text/text.h"

#include <cstddef>
#include <utility>

namespace tackle {

// Lines on their way to a file or the wire: a queue of bytes in which each line is followed by CR LF, the last one too.
class line_buffer {
public:
    line_buffer() = default;
    // From any list of lines; a single string is one line only through append_line.
    template <typename lines>
    explicit line_buffer(const lines& list) {
        std::size_t size = 0;
        for (const string_view line : list)
            size += line.size() + 2;
        bytes_.reserve(size);
        for (const string_view line : list)
            append_line(line);
    }

    void append_line(string_view line) {
        bytes_ += line;
        bytes_ += "\r\n";
    }
    [[nodiscard]] std::size_t size() const noexcept { return bytes_.size(); }
    // All bytes at once; the buffer is empty afterwards.
    [[nodiscard]] string read_all() noexcept { return std::exchange(bytes_, {}); }

private:
    string bytes_;
};

} // namespace tackle
