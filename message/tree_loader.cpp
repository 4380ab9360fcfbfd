#include "message/tree_loader.h"

#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/body.h"
#include "message/header_section.h"
#include "message/tree_walk.h"

#include <utility>

namespace tackle::internet::message2 {
namespace {

struct file_type {
    wstring_view ending;
    string_view content_type;
};
constexpr file_type file_types[] = {
    {u".txt", "text/plain"},  {u".htm", "text/html"}, {u".html", "text/html"}, {u".jpg", "image/jpeg"},
    {u".jpeg", "image/jpeg"}, {u".gif", "image/gif"}, {u".png", "image/png"},
};

string_view type_of_file(wstring_view name) {
    const wstring lower = to_lower(name);
    for (const file_type& type : file_types)
        if (lower.ends_with(type.ending)) return type.content_type;
    return "application/octet-stream";
}

// The name of a uuencoded file. Whatever keeps the charset from reading it, it is then taken byte for byte: a name is
// no reason to lose a file.
wstring name_of_file(string_view name, string_view charset) {
    wstring wide;
    if (unicode::try_to_wide(name, unicode::code_page_of(charset), wide)) return wide;
    return unicode::to_wide(name, unicode::raw_code_page);
}

} // namespace

void tree_loader::load(part& root, string_view message) { load_attached(walk(root, message, 0, false)); }

void tree_loader::load(part& root, string&& message) { load_attached(walk({&root, std::move(message), 0, false})); }

// Attached messages are parsed when the walk is over and its bytes are gone, or a chain of them would keep a copy of
// itself for each link.
tree_loader::walked_message tree_loader::walk(attached_message message) {
    return walk(*message.target, message.bytes, message.depth, message.no_files);
}

tree_loader::walked_message tree_loader::walk(part& root, string_view message, unsigned depth, bool no_files) {
    walked_message walked;
    try {
        tree_walk(message, depth, no_files, walked.found).run(root);
    } catch (const exception&) {
        walked.failure = std::current_exception();
    }
    return walked;
}

// A failure of a walk waits for the messages found before it: theirs come first, as if each was parsed where it stood.
// No recursion: the stack of a caller's thread may be small, and 64 walks take 90 KB of it.
void tree_loader::load_attached(walked_message first) {
    std::vector<walked_message> open;
    open.push_back(std::move(first));
    while (!open.empty()) {
        walked_message& last = open.back();
        if (last.next < last.found.size()) {
            open.push_back(walk(std::move(last.found[last.next++])));
            continue;
        }
        if (last.failure) std::rethrow_exception(last.failure);
        open.pop_back();
    }
}

void tree_loader::load_nothing(part& root) { read_headers(root, {}, 0); }

part& tree_loader::add_child(part& node) { return *node.rest().children.emplace_back(make_bare()); }

void tree_loader::read_headers(part& node, string_view section, std::size_t fields) {
    if (section.empty()) {
        node.headers_from_ = part::header_origin::empty_type;
        return;
    }
    read_header_section(section, fields, node.headers_);
    bool has_type = false;
    for (const header_field field : node.headers_) {
        if (!iequals(field.name, "Content-Type")) continue;
        has_type = true;
        node.apply_content_type(field.value);
    }
    if (!has_type) node.headers_.add("Content-Type", "");
}

void tree_loader::store_body(part& node, const line_stretch& lines, const string& encoding, bool no_files) {
    if (lines.bytes.empty() && !lines.open) return;
    string& data = node.body().data;
    if (encoding == "base64") {
        decode_base64_body(lines, data);
    } else if (encoding == "quoted-printable") {
        decode_quoted_printable_body(lines, data);
    } else if (no_files) {
        append_normalised(lines, data);
    } else {
        store_text(node, lines);
    }
}

namespace {

// The first uuencoded file at or behind `at`, which then is where it begins. False if there is none.
bool next_uuencoded_block(const line_stretch& lines, std::size_t& at, uuencoded_block& block) {
    const string_view bytes = lines.bytes;
    for (at = find_line_with(bytes, at, 'b'); at < bytes.size(); at = find_line_with(bytes, at + 1, 'b')) {
        const string_view left = bytes.substr(at);
        if (left.starts_with("begin") && find_uuencoded_block({left, lines.open}, block)) return true;
    }
    return false;
}

} // namespace

// Everything that is no uuencoded file goes to the data, and the files become children. Their depth is not limited:
// they are leaves, and a text at the limit must not make its message unreadable.
void tree_loader::store_text(part& node, const line_stretch& lines) {
    line_stretch left = lines;
    std::size_t at = 0;
    bool any_file = false;
    for (uuencoded_block block; next_uuencoded_block(left, at, block); at = 0) {
        any_file = true;
        append_normalised({left.bytes.substr(0, at), false}, node.body().data);
        node.rest().children.push_back(make_uuencoded(node, block));
        left = block.rest;
    }
    append_normalised(left, node.body().data);
    if (any_file) split_off_text(node);
}

std::unique_ptr<part> tree_loader::make_uuencoded(const part& text, const uuencoded_block& block) {
    auto file = make_bare();
    part::part_body& body = file->body();
    body.file_name = name_of_file(block.name, text.charset());
    body.type = type_of_file(body.file_name);
    body.data = decode_uuencoded_block(block.lines);
    file->headers_from_ = part::header_origin::file;
    return file;
}

// The text becomes a child behind the files taken from it, with its type, charset and boundary.
void tree_loader::split_off_text(part& node) {
    auto children = std::exchange(node.rest().children, {});
    auto& text = *children.emplace_back(std::make_unique<part>());
    text.body_ = std::move(node.body_);
    node.rest().children = std::move(children);
    node.set_content_type("multipart/mixed");
    node.rest().boundary = uuencoded_boundary;
}

bool tree_loader::is_attached_message(const part& node) {
    return node.content_type() == "application/octet-stream" &&
           to_lower(node.attachment_info().filename).ends_with(u".eml");
}

// Turns a part that is an attached message into one that has it as child.
part* tree_loader::make_nested(part& node, unsigned depth) {
    if (depth >= part::deepest) throw depth_limit("MIME tree depth exceeded");
    node.set_content_type("message/rfc822");
    node.remove_headers("Content-Transfer-Encoding");
    return &add_child(node);
}

} // namespace tackle::internet::message2
