#include "message/tree_walk.h"

#include "foundation/line_scanner.h"
#include "message/header_section.h"

#include <algorithm>
#include <utility>

namespace tackle::internet::message2 {

tree_walk::tree_walk(const source& from, unsigned depth, tree_loader::attached_messages& found)
    : text_(from.text), has_no_files_(from.has_no_files), end_(from.text.size() + 1 + from.empty_lines), depth_(depth),
      found_(found) {}

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
    const std::size_t behind = std::max(first, size + 1);
    return {text_.substr(from, std::min(last, size) - from), first <= size && last > size,
            last > behind ? last - behind : 0};
}

tree_walk::cut tree_walk::end_of_text() const { return {end_, end_, 0, false, true}; }

// The cut at a line, if it is one.
bool tree_walk::find_cut(std::size_t line, std::size_t line_end, cut& found) const {
    const auto match = delimiters_.find(text_.substr(line, line_end - line));
    if (!match) return false;
    found = {line, line_behind(line_end), match->owner, match->closing, false};
    return true;
}

// Only lines of dashes are looked at, and none if no boundary is open.
tree_walk::cut tree_walk::next_cut() const {
    cut found = end_of_text();
    if (delimiters_.empty()) return found;
    for (std::size_t line = find_line_with(text_, position_, '-'); line < text_.size();) {
        const std::size_t line_end = find_line_end(text_, line);
        if (find_cut(line, line_end, found)) break;
        line = find_line_with(text_, line_end, '-');
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
    part& node = *owner.node;
    const line_stretch body = stretch(owner.body, last);
    const unsigned part_depth = depth_ + static_cast<unsigned>(depth);
    owner.where = open_part::state::among_children;
    const bool is_message = tree_loader::is_attached_message(node);
    if (is_message && walk_in_place(node, body, part_depth)) return;
    tree_loader::store_body(node, body, has_no_files_);
    // A text with a uuencoded file in it is another type by now.
    if (is_message && tree_loader::is_attached_message(node))
        found_.push_back(
            {tree_loader::make_nested(node, part_depth), std::exchange(node.content().data, {}), part_depth + 1});
}

// A message attached without encoding is walked where it stands: to copy a chain of them link by link would cost its
// size once for each link. The copy would have the same lines, and an empty one behind the last.
bool tree_walk::walk_in_place(part& node, const line_stretch& body, unsigned depth) {
    bool has_no_files = has_no_files_;
    const string encoding = node.transfer_encoding();
    if (encoding == "base64") return false;
    if (encoding == "quoted-printable") {
        if (body.bytes.find('=') != string_view::npos) return false;
    } else {
        if (!has_no_files && tree_loader::has_uuencoded_file(body)) return false;
        has_no_files = true;
    }
    part& message = *tree_loader::make_nested(node, depth);
    tree_walk({body.bytes, body.empty_lines + (body.open ? 1 : 0), has_no_files}, depth + 1, found_).run(message);
    return true;
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
