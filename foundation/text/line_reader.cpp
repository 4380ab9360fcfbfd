#include "foundation/text/line_reader.h"

#include "foundation/text/line_scanner.h"

namespace tackle {

void line_reader::append(string_view text) {
    last_line_ = false;
    // Given out lines go once they are half of the buffer: each byte then moves a bounded number of times.
    if (line_start_ > buffer_.size() / 2) {
        buffer_.erase(0, line_start_);
        position_ -= line_start_;
        line_start_ = 0;
    }
    buffer_.append(text);
}

bool line_reader::next_line(string& line) {
    if (position_ < buffer_.size() && pending_end_ != 0) {
        if ((buffer_[position_] ^ pending_end_) == ('\r' ^ '\n')) line_start_ = ++position_;
        pending_end_ = 0;
    }
    const std::size_t end = find_line_end(buffer_, position_);
    if (end < buffer_.size()) {
        line.assign(buffer_, line_start_, end - line_start_);
        pending_end_ = buffer_[end];
        line_start_ = position_ = end + 1;
        return true;
    }
    position_ = end;
    if (!last_line_) return false;
    last_line_ = false;
    line.assign(buffer_, line_start_);
    return true;
}

} // namespace tackle
