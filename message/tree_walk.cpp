#include "message/tree_walk.h"

#include "foundation/line_scanner.h"
#include "message/header_section.h"

#include <algorithm>

namespace tackle::internet::message2 {

tree_walk::tree_walk(string_view text, unsigned depth, tree_loader::attached_messages& found)
    : text_(text), end_(text.size() + 1), depth_(depth), found_(found) {}

line_stretch tree_walk::stretch(std::size_t first, std::size_t last) const {
    if (first >= last) return {};
    return {text_.substr(first, std::min(last, text_.size()) - first), last == end_};
}

tree_walk::cut tree_walk::end_of_text() const { return {end_, end_, 0, false, true}; }

// Only lines of dashes are looked at, and none if no boundary is open.
tree_walk::cut tree_walk::next_cut() const {
    if (delimiters_.empty() || position_ == end_) return end_of_text();
    std::size_t line = find_line_with(text_, position_, '-');
    while (line < text_.size()) {
        const std::size_t line_end = find_line_end(text_, line);
        if (const auto match = delimiters_.find(text_.substr(line, line_end - line)))
            return {line, line_end == text_.size() ? end_ : skip_line_end(text_, line_end), match->owner,
                    match->closing, false};
        line = find_line_with(text_, line_end, '-');
    }
    return end_of_text();
}

// Reads the headers of the innermost part. True if something else than an empty line ended them: the part then has no
// body.
bool tree_walk::walk_headers(cut& found) {
    const std::size_t first = position_;
    std::size_t line = first;
    std::size_t line_end = 0;
    std::size_t fields = 0;
    bool is_cut = true;
    found = end_of_text();
    for (; line < end_; line = line_end == text_.size() ? end_ : skip_line_end(text_, line_end)) {
        line_end = find_line_end(text_, line);
        if (line_end == line) {
            is_cut = false;
            break;
        }
        if (text_[line] != '-' || delimiters_.empty()) continue;
        const auto match = delimiters_.find(text_.substr(line, line_end - line));
        if (!match) continue;
        found = {line, line_end == text_.size() ? end_ : skip_line_end(text_, line_end), match->owner, match->closing,
                 false};
        break;
    }
    tree_loader::read_headers(*open_.back().node, stretch(first, line).bytes, fields);
    if (!is_cut) position_ = line_end == text_.size() ? end_ : skip_line_end(text_, line_end);
    return is_cut;
}

void tree_walk::begin_body() {
    open_part& top = open_.back();
    const std::size_t depth = open_.size() - 1;
    // The boundary of this moment: storing the body may give the part another one.
    if (!top.node->boundary().empty()) delimiters_.add(top.node->boundary(), depth);
    top.body = position_;
    if (top.node->content_type() != "message/rfc822") {
        top.where = open_part::state::in_own_body;
        return;
    }
    top.where = open_part::state::among_children;
    open_child(depth);
}

void tree_walk::open_child(std::size_t owner) {
    if (depth_ + owner >= part::deepest) throw depth_limit("MIME tree depth exceeded");
    open_.push_back({&tree_loader::add_child(*open_[owner].node)});
}

void tree_walk::finish_own_body(open_part& owner, std::size_t depth, std::size_t last) {
    tree_loader::store_body(*owner.node, stretch(owner.body, last));
    if (tree_loader::is_attached_message(*owner.node))
        tree_loader::detach_message(*owner.node, depth_ + static_cast<unsigned>(depth), found_);
    owner.where = open_part::state::among_children;
}

// Ends all parts on the stack at and above `first`, the innermost one first.
void tree_walk::finish_from(std::size_t first, std::size_t last) {
    while (open_.size() > first) {
        const std::size_t depth = open_.size() - 1;
        open_part& top = open_.back();
        if (top.where == open_part::state::in_own_body) finish_own_body(top, depth, last);
        if (!top.node->boundary().empty()) delimiters_.remove(depth);
        open_.pop_back();
    }
}

// Ends what the cut ends and follows those behind it until a part begins. False at the end of the text.
bool tree_walk::apply_cut(cut at) {
    for (;; at = next_cut()) {
        if (at.at_end) {
            finish_from(0, end_);
            return false;
        }
        finish_from(at.owner + 1, at.line);
        open_part& owner = open_[at.owner];
        if (owner.where == open_part::state::in_own_body) finish_own_body(owner, at.owner, at.line);
        position_ = at.next_line;
        if (!at.closing) {
            open_child(at.owner);
            return true;
        }
        owner.where = open_part::state::closed;
        delimiters_.remove(at.owner);
    }
}

void tree_walk::run(part& root) {
    open_.push_back({&root});
    for (cut at = end_of_text();;) {
        if (!walk_headers(at)) {
            begin_body();
            if (open_.back().where == open_part::state::in_headers) continue; // a child has begun at once
            at = next_cut();
        }
        if (!apply_cut(at)) return;
    }
}

} // namespace tackle::internet::message2
