#include "message/tree_walk.h"

#include "foundation/line_scanner.h"
#include "message/body.h"
#include "message/header_section.h"

#include <algorithm>
#include <utility>

namespace tackle::internet::message2 {

tree_walk::tree_walk(string_view text, unsigned depth, tree_loader::attached_messages& found)
    : text_(text), end_(text.size() + 1), depth_(depth), found_(found) {}

// Where the line ends that begins at `line`, and where the next one begins. Behind the text each position is an empty
// line.
std::size_t tree_walk::end_of_line(std::size_t line) const {
    return line < text_.size() ? find_line_end(text_, line) : line;
}

std::size_t tree_walk::line_behind(std::size_t line_end) const {
    return line_end < text_.size() ? skip_line_end(text_, line_end) : line_end + 1;
}

line_stretch tree_walk::stretch(std::size_t first, std::size_t last, std::size_t empty_lines) const {
    const std::size_t size = text_.size();
    const std::size_t from = std::min(first, size);
    return {text_.substr(from, std::min(last, size) - from), first <= size && last > size, empty_lines};
}

tree_walk::cut tree_walk::end_of_text() const { return {end_, end_, 0, false, true}; }

// The cut at a line, if it is one.
bool tree_walk::find_cut(std::size_t line, std::size_t line_end, cut& found) const {
    const auto match = delimiters_.find(text_.substr(line, line_end - line));
    if (!match) return false;
    found = {line, line_behind(line_end), match->owner, match->closing, false};
    return true;
}

// Only lines that begin like a delimiter are looked at, and none if no boundary is open.
tree_walk::cut tree_walk::next_cut() const {
    cut found = end_of_text();
    if (delimiters_.empty()) return found;
    const auto next_line = [&](std::size_t from) { return find_dashed_line(text_, from, delimiters_.first_bytes()); };
    for (std::size_t line = next_line(position_); line < text_.size();) {
        const std::size_t line_end = find_line_end(text_, line);
        if (find_cut(line, line_end, found)) break;
        line = next_line(line_end);
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
    tree_loader::read_headers(*open_.back().node, stretch(first, line, 0).bytes, fields);
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
        top.is_attached_message = tree_loader::is_attached_message(*top.node);
        return false;
    }
    top.where = open_part::state::among_children;
    open_child(depth);
    return true;
}

// Finds the end of the innermost part's own body. False if a child has begun with it instead, as the part is a message
// attached in lines that decode to themselves.
bool tree_walk::walk_own_body(cut& found) {
    const open_part& top = open_.back();
    const string encoding = top.is_attached_message ? top.node->transfer_encoding() : string();
    if (!top.is_attached_message || encoding == "base64") {
        found = next_cut();
        return true;
    }
    const bool quoted = encoding == "quoted-printable";
    if (!(quoted ? top.no_escapes : top.no_files)) {
        found = next_cut();
        const line_stretch body = stretch(top.body, found.line, 0);
        if (quoted ? has_quoted_printable_escape(body) : tree_loader::has_uuencoded_file(body)) return true;
    }
    open_attached_message(top.no_files || !quoted, top.no_escapes || quoted);
    return false;
}

void tree_walk::open_child(std::size_t owner) {
    if (depth_ + owner >= part::deepest) throw depth_limit("MIME tree depth exceeded");
    open_part child = {&tree_loader::add_child(*open_[owner].node)};
    child.no_files = open_[owner].no_files;
    child.no_escapes = open_[owner].no_escapes;
    child.links = open_[owner].links;
    open_.push_back(child);
}

void tree_walk::open_attached_message(bool no_files, bool no_escapes) {
    const std::size_t depth = open_.size() - 1;
    open_part& top = open_.back();
    top.where = open_part::state::among_children;
    open_part message = {tree_loader::make_nested(*top.node, depth_ + static_cast<unsigned>(depth))};
    message.no_files = no_files;
    message.no_escapes = no_escapes;
    message.links = top.links + 1;
    open_.push_back(message);
}

void tree_walk::finish_own_body(open_part& owner, std::size_t depth, const line_stretch& body) {
    part& node = *owner.node;
    owner.where = open_part::state::among_children;
    tree_loader::store_body(node, body, owner.no_files);
    // A text with a uuencoded file in it is another type by now.
    if (!owner.is_attached_message || !tree_loader::is_attached_message(node)) return;
    const unsigned part_depth = depth_ + static_cast<unsigned>(depth);
    found_.push_back(
        {tree_loader::make_nested(node, part_depth), std::exchange(node.content().data, {}), part_depth + 1});
}

// The empty lines behind attached messages that end at `last` may end the headers of the innermost part, and begin
// bodies. Returns how many of them are left for its body.
std::size_t tree_walk::finish_headers(std::size_t last, std::size_t empty_lines) {
    position_ = last;
    while (empty_lines > 0 && open_.back().where == open_part::state::in_headers) {
        --empty_lines;
        if (!begin_body()) {
            const open_part& top = open_.back();
            if (!top.is_attached_message || top.node->transfer_encoding() == "base64") break;
            open_attached_message(top.no_files, top.no_escapes);
            ++empty_lines;
        }
        tree_loader::read_headers(*open_.back().node, {}, 0);
    }
    return empty_lines;
}

// Ends all parts on the stack at and above `first`, the innermost one first: it alone has lines of its own.
void tree_walk::finish_from(std::size_t first, std::size_t last) {
    if (open_.size() <= first) return;
    std::size_t empty_lines = open_.back().links - (first == 0 ? 0 : open_[first - 1].links);
    empty_lines = finish_headers(last, empty_lines);
    while (open_.size() > first) {
        const std::size_t depth = open_.size() - 1;
        open_part& top = open_.back();
        if (top.where == open_part::state::in_own_body)
            finish_own_body(top, depth, stretch(top.body, last, empty_lines));
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
            finish_own_body(owner, at.owner, stretch(owner.body, at.line, 0));
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
        // A child that begins with a body goes on with its headers.
        if (!walk_headers(at) && (begin_body() || !walk_own_body(at))) continue;
        if (!apply_cut(at)) return;
    }
}

} // namespace tackle::internet::message2
