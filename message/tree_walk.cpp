#include "message/tree_walk.h"

#include "foundation/text/line_scanner.h"
#include "message/body.h"
#include "message/header_section.h"

#include <algorithm>
#include <utility>

namespace tackle::internet::message2 {

tree_walk::tree_walk(string_view text, unsigned depth, bool no_files, tree_loader::attached_messages& found)
    : text_(text), end_(text.size() + 1), depth_(depth), no_files_(no_files), found_(found) {}

// Where the line ends that begins at `line`, and where the next one begins. Behind the text each position is an empty
// line.
std::size_t tree_walk::end_of_line(std::size_t line) const {
    return line < text_.size() ? find_line_end(text_, line) : line;
}

std::size_t tree_walk::line_behind(std::size_t line_end) const {
    return line_end < text_.size() ? skip_line_end(text_, line_end) : line_end + 1;
}

line_stretch tree_walk::stretch(std::size_t first, std::size_t last) const {
    const std::size_t size = text_.size();
    const std::size_t from = std::min(first, size);
    return {text_.substr(from, std::min(last, size) - from), first <= size && last > size};
}

tree_walk::cut tree_walk::end_of_text() const { return {end_, end_, 0, false, true}; }

// The cut at a line, if it is one.
bool tree_walk::find_cut(std::size_t line, std::size_t line_end, cut& found) const {
    const auto match = delimiters_.find(text_.substr(line, line_end - line));
    if (!match) return false;
    found = {line, line_behind(line_end), match->owner, match->closing, false};
    return true;
}

tree_walk::cut tree_walk::next_cut() const {
    cut found = end_of_text();
    for (std::size_t line = delimiters_.find_candidate(text_, position_); line < text_.size();) {
        const std::size_t line_end = find_line_end(text_, line);
        if (find_cut(line, line_end, found)) break;
        line = delimiters_.find_candidate(text_, line_end);
    }
    return found;
}

// Reads the headers of the innermost part. True if something else than an empty line ended them: the part then has no
// body.
bool tree_walk::walk_headers(cut& found) {
    const std::size_t first = position_;
    std::size_t line = first;
    std::size_t fields = 0;
    bool is_cut = true;
    found = end_of_text();
    while (line < end_) {
        const std::size_t line_end = end_of_line(line);
        if (line_end == line) {
            is_cut = false;
            position_ = line_behind(line_end);
            break;
        }
        if (text_[line] == '-' && !delimiters_.empty() && find_cut(line, line_end, found)) break;
        if (begins_field(text_[line])) ++fields;
        line = line_behind(line_end);
    }
    tree_loader::read_headers(*open_.back().node, stretch(first, line).bytes, fields);
    return is_cut;
}

// True if a child begins with the body of the innermost part.
bool tree_walk::begin_body() {
    open_part& top = open_.back();
    const std::size_t depth = open_.size() - 1;
    // The boundary of this moment: storing the body may give the part another one.
    if (!top.node->boundary().empty()) delimiters_.add(top.node->boundary(), depth);
    top.body = position_;
    if (top.node->content_type() != "message/rfc822") {
        top.where = open_part::state::in_own_body;
        return false;
    }
    top.where = open_part::state::among_children;
    open_child(depth);
    return true;
}

void tree_walk::open_child(std::size_t owner) {
    if (depth_ + owner >= part::deepest) throw depth_limit("MIME tree depth exceeded");
    open_.push_back({&tree_loader::add_child(*open_[owner].node)});
}

void tree_walk::finish_own_body(open_part& owner, std::size_t depth, const line_stretch& body) {
    part& node = *owner.node;
    owner.where = open_part::state::among_children;
    const string encoding = node.transfer_encoding();
    tree_loader::store_body(node, body, encoding, no_files_);
    // A text with a uuencoded file in it is another type by now: one that is still a file has none, and neither has the
    // message in it, unless decoding has made its lines.
    if (!tree_loader::is_attached_message(node)) return;
    const bool no_files = encoding != "base64" && encoding != "quoted-printable";
    const unsigned part_depth = depth_ + static_cast<unsigned>(depth);
    found_.push_back(
        {tree_loader::make_nested(node, part_depth), tree_loader::take_data(node), part_depth + 1, no_files});
}

// Ends all parts on the stack at and above `first`, the innermost one first: it alone has lines of its own.
void tree_walk::finish_from(std::size_t first, std::size_t last) {
    while (open_.size() > first) {
        const std::size_t depth = open_.size() - 1;
        open_part& top = open_.back();
        if (top.where == open_part::state::in_own_body) finish_own_body(top, depth, stretch(top.body, last));
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
        if (owner.where == open_part::state::in_own_body)
            finish_own_body(owner, at.owner, stretch(owner.body, at.line));
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
            if (begin_body()) continue; // with the headers of the child that begins with the body
            at = next_cut();
        }
        if (!apply_cut(at)) return;
    }
}

} // namespace tackle::internet::message2
