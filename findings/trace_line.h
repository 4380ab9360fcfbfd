#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/text/format.h"
#include "foundation/text/text.h"

namespace brimwarden::analysis {

// A line of the explanation of an answer, as people read it. The depth is data and the text carries no blanks for it:
// the client chooses how to show it.
struct trace_line {
    std::uint32_t indent;      // 0 for a heading or an empty line, 1 below a heading, more in the tree of parts
    tackle::wstring_view text; // into the trace; good until the trace changes or ends
};

// The lines of one operation. Blocks open with a heading that ends in a colon, and whoever opens a block that is not
// the first writes an empty line before it; open_block does both. All text lies in one buffer, so that the trace of a
// message with a million parts costs no million allocations.
class trace_list {
public:
    // One line of all texts, one behind the other, even if they hold line ends.
    template <typename... texts>
    void append(std::uint32_t indent, const texts&... pieces) {
        (text_.append(tackle::wstring_view(pieces)), ...);
        ends_.push_back({text_.size(), indent});
    }
    // The same, printed by the rules of tackle::format. No argument may be a view of this trace.
    template <typename... types>
    void append_format(std::uint32_t indent, const char16_t* fmt, const types&... values) {
        tackle::append_format(text_, fmt, values...);
        ends_.push_back({text_.size(), indent});
    }
    // An empty line and the heading.
    void open_block(tackle::wstring_view heading);

    [[nodiscard]] std::size_t size() const { return ends_.size(); }
    [[nodiscard]] bool empty() const { return ends_.empty(); }
    // In constant time; index has to be below size().
    [[nodiscard]] trace_line operator[](std::size_t index) const;

private:
    struct line_end {
        std::size_t end; // behind the line's last unit in text_
        std::uint32_t indent;
    };
    tackle::wstring text_;
    std::vector<line_end> ends_;
};

} // namespace brimwarden::analysis
