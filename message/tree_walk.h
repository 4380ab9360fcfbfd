#pragma once

#include "message/delimiter_set.h"
#include "message/line_search.h"
#include "message/tree_loader.h"

#include <vector>

namespace tackle::internet::message2 {

// One walk over a message that makes its tree. All parts that are open at a line stand on a stack, and the line is
// compared with all their boundaries at once, so that the depth of a part does not cost its lines anything.
//
// The rules, per part: its headers run to an empty line. What follows, up to its delimiter or closing line, is its own
// body, or its first child if it is a "message/rfc822". Each stretch from there to the next such line is a child. The
// closing line ends the part, and what stands behind it is dropped. A part that an outer delimiter cuts ends there,
// within its headers too; the outer parts see a line first.
//
// A message attached as a file is no part of the walk: its body is decoded and handed out, to be walked by itself.
class tree_walk {
public:
    // `depth` is that of the root; `no_files` says that no line of the text begins a uuencoded file. Text and list outlive
    // the walk.
    tree_walk(string_view text, unsigned depth, bool no_files, tree_loader::attached_messages& found);

    // Throws as the constructors of part, and leaves what it made so far in the tree.
    void run(part& root);

private:
    // A part of which the end has not been seen; its depth is its place on the stack.
    struct open_part {
        part* node;
        enum class state {
            in_headers,
            in_own_body, // which begins at `body`
            among_children,
            closed,
        } where = state::in_headers;
        std::size_t body = 0;
    };
    // A line that ends all parts inside its owner, or the end of the text, which ends all parts.
    struct cut {
        std::size_t line;
        std::size_t next_line;
        std::size_t owner;
        bool closing;
        bool at_end;
    };

    [[nodiscard]] std::size_t end_of_line(std::size_t line) const;
    [[nodiscard]] std::size_t line_behind(std::size_t line_end) const;
    [[nodiscard]] line_stretch stretch(std::size_t first, std::size_t last) const;
    [[nodiscard]] cut end_of_text() const;
    bool find_cut(std::size_t line, std::size_t line_end, cut& found) const;
    [[nodiscard]] cut next_cut() const;
    bool walk_headers(cut& found);
    bool begin_body();
    void open_child(std::size_t owner);
    void finish_own_body(open_part& owner, std::size_t depth, const line_stretch& body);
    void finish_from(std::size_t first, std::size_t last);
    bool apply_cut(cut at);

    string_view text_;
    std::size_t end_; // behind the last line: beyond the size, since the last line may be empty
    std::size_t position_ = 0;
    unsigned depth_;
    bool no_files_;
    std::vector<open_part> open_;
    delimiter_set delimiters_;
    tree_loader::attached_messages& found_;
};

} // namespace tackle::internet::message2
