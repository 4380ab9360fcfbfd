#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/text/format.h"
#include "foundation/text/text.h"
#include "message/part.h"

namespace brimwarden::analysis {

// A line of the explanation of an answer, as people read it. The depth is data and the text carries no blanks for it:
// the client chooses how to show it.
struct trace_line {
    std::uint32_t indent; // 0 for a heading or an empty line, 1 below a heading, more in the tree of parts
    tackle::wstring text;
};

// The lines of one operation, as many as fit in 32 bits. Blocks open with a heading that ends in a colon, and whoever
// opens a block that is not the first writes an empty line before it; open_block does both. All text lies in one
// buffer, and the lines of parts are written when they are read: a message can consist of millions of parts that are
// smaller than their lines.
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

    [[nodiscard]] std::size_t size() const { return ends_.size() + parts_.nodes.size(); }
    [[nodiscard]] bool empty() const { return size() == 0; }
    // One line for each part of the tree, the root at indent 1, children one deeper than their parent. The two parts
    // that play a role are marked; null marks none. Once a trace. The tree has to stay as it is as long as lines are
    // read.
    void list_parts(const tackle::internet::message2::part& message, const tackle::internet::message2::part* root,
                    const tackle::internet::message2::part* displayable);
    // Without a search; index has to be below size().
    [[nodiscard]] trace_line operator[](std::size_t index) const;

private:
    struct line_end {
        std::size_t end; // behind the line's last unit in text_
        std::uint32_t indent;
    };
    struct part_lines {
        std::size_t first = 0; // the index of the first one among all lines
        std::vector<const tackle::internet::message2::part*> nodes;
        std::vector<std::uint8_t> indents;
        const tackle::internet::message2::part* root = nullptr;
        const tackle::internet::message2::part* displayable = nullptr;
    };
    void add_tree(const tackle::internet::message2::part& node, std::uint8_t indent);
    [[nodiscard]] tackle::wstring part_text(const tackle::internet::message2::part& node) const;

    tackle::wstring text_;
    std::vector<line_end> ends_; // of all lines but those of the parts
    part_lines parts_;
};

} // namespace brimwarden::analysis
