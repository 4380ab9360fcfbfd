#include "foundation/coding/coding.h"
#include "foundation/text/line_scanner.h"
#include "foundation/text/strings.h"
#include "message/header_type/content_type_rebuild.h"
#include "message/part.h"
#include "message/tree_loader.h"
#include "platform/file.h"

#include <algorithm>

namespace tackle::internet::message2 {
namespace {

constexpr std::size_t base64_line_bytes = 57;         // 76 characters
constexpr std::size_t quoted_printable_line_end = 60; // a line goes out as soon as it is longer

template <typename line_sink>
void render_base64(string_view data, const line_sink& sink) {
    string line;
    for (; !data.empty(); data.remove_prefix(std::min(base64_line_bytes, data.size()))) {
        line.clear();
        coding::translate::base64_encode(data.substr(0, base64_line_bytes), line, true);
        sink(line);
    }
}

// A line is cut behind the character that made it too long, so never within an escape.
template <typename line_sink>
void render_quoted_printable(string_view data, const line_sink& sink) {
    line_scanner lines(data);
    string_view line;
    string encoded;
    string soft;
    while (lines.next(line)) {
        encoded.clear();
        coding::translate::quoted_printable_encode(line, encoded);
        std::size_t first = 0;
        for (std::size_t at = 0; at < encoded.size();) {
            at += encoded[at] == '=' ? 3 : 1;
            if (at - first <= quoted_printable_line_end) continue;
            soft.assign(encoded, first, at - first);
            soft += '=';
            sink(soft);
            first = at;
        }
        sink(string_view(encoded).substr(first));
    }
}

// Writes at most 8 times the message and 64 KiB. Each byte of the message makes room for 8. What is written for it as it
// stands needs no more than that; what a field grows by when it is rebuilt, and the fields that the loader has made, are
// written while there is room. Otherwise many short fields could each name one long boundary, and many short files each
// get a header.
template <typename line_sink>
class renderer {
public:
    explicit renderer(const line_sink& sink) : sink_(sink) {}

    // `made` if the loader has made the part of a uuencoded text, and its fields.
    void render(const part& node, bool made) {
        for (const header_field field : node.headers())
            render_field(node, field, made || (is_type(field) && field.value.empty()));
        write({});
        if (!node.data().empty()) render_body(node);
        if (node.children().empty()) return;
        if (!node.content_type().starts_with("multipart/")) {
            render(*node.children().front(), false); // an attached message; there is no way to write another one
            return;
        }
        const string delimiter = string("--").append(node.boundary());
        for (const auto& child : node.children()) {
            const bool child_made = make_room_for_child(node, *child);
            write(delimiter);
            render(*child, child_made);
        }
        write(delimiter + "--");
    }

private:
    static constexpr std::ptrdiff_t room_for_byte = 8;

    // As a part of the loader's own.
    [[nodiscard]] bool begins_as_new(const part& node) const {
        const header_list& made = new_part_.headers();
        if (node.headers().size() < made.size()) return false;
        for (std::size_t i = 0; i < made.size(); ++i)
            if (node.headers()[i].name != made[i].name || node.headers()[i].value != made[i].value) return false;
        return true;
    }

    static bool is_type(const header_field& field) { return iequals(field.name, "Content-Type"); }

    void make_room(std::size_t bytes) { room_ += room_for_byte * static_cast<std::ptrdiff_t>(bytes); }
    [[nodiscard]] bool has_room(std::size_t bytes) const { return static_cast<std::ptrdiff_t>(bytes) <= room_; }

    void write(string_view line) {
        room_ -= static_cast<std::ptrdiff_t>(line.size() + 2);
        sink_(line);
    }

    // For the least that the message has for a child. True if the loader has made it.
    bool make_room_for_child(const part& node, const part& child) {
        const bool is_converted = node.boundary() == tree_loader::uuencoded_boundary;
        if (is_converted && begins_as_new(child)) {
            const bool is_file = child.headers().size() > new_part_.headers().size(); // or the text around the files
            if (is_file) make_room(string_view("begin  \nend").size());
            return true;
        }
        make_room(string_view("--\n").size() + (is_converted ? 1 : node.boundary().size()));
        return false;
    }

    void render_field(const part& node, const header_field& field, bool made) {
        if (!made) make_room(field.name.size() + field.value.size() + 1);
        string line(field.name);
        line += ": ";
        const auto rebuilt = is_type(field) ? rebuild_type(node, field.value, line.size() + 2) : std::nullopt;
        line += rebuilt ? string_view(*rebuilt) : field.value;
        if (!made || has_room(line.size() + 2)) write(line);
    }

    // Nullopt if there is no room; what was tried in vain counts as written, or each field could try it again.
    std::optional<string> rebuild_type(const part& node, string_view raw, std::size_t around) {
        header_type::content_type_model model = {node.content_type(), {}, node.boundary()};
        if (node.content_type().starts_with("text/")) model.charset = node.charset();
        const std::size_t least = model.type.size() + model.charset.size() + model.boundary.size();
        if (!has_room(around + least)) return std::nullopt;
        auto rebuilt = header_type::rebuild_content_type(raw, model, static_cast<std::size_t>(room_) - around);
        if (!rebuilt || rebuilt->size() < least) room_ -= static_cast<std::ptrdiff_t>(least);
        return rebuilt;
    }

    void render_body(const part& node) {
        make_room(node.data().size() / 2); // a line end of two bytes may have been one
        const string encoding = node.transfer_encoding();
        const auto sink = [this](string_view line) { write(line); };
        if (encoding == "base64") {
            render_base64(node.data(), sink);
        } else if (encoding == "quoted-printable") {
            render_quoted_printable(node.data(), sink);
        } else {
            line_scanner lines(node.data());
            string_view line;
            while (lines.next(line))
                write(line);
        }
    }

    const line_sink& sink_;
    const part new_part_;
    std::ptrdiff_t room_ = 64 * 1024;
};

template <typename line_sink>
void render_message(const part& node, const line_sink& sink) {
    renderer<line_sink>(sink).render(node, false);
}

} // namespace

void part::render(std::vector<string>& lines) const {
    render_message(*this, [&](string_view line) { lines.emplace_back(line); });
}

std::vector<string> part::render() const {
    std::vector<string> lines;
    render(lines);
    return lines;
}

string part::render_text() const {
    string text;
    render_message(*this, [&](string_view line) {
        text += line;
        text += "\r\n";
    });
    return text;
}

// A body has one line more than it had, unless it is in base64. One at the end of the text has two, as the end of the
// text's last line begins another.
part part::from_rendered(string_view text) {
    constexpr string_view line_end = "\r\n";
    if (text.ends_with(line_end)) text.remove_suffix(line_end.size());
    part root(text);
    std::vector<part*> parts;
    root.find_parts(parts, false, {});
    for (part* const each : parts) {
        if (!each->data().ends_with(line_end) || each->transfer_encoding() == "base64") continue;
        string& data = each->body().data;
        data.resize(data.size() - line_end.size());
    }
    return root;
}

void part::save(wstring_view path) const {
    switch (platform::write_whole_file(path, render_text())) {
    case platform::file_result::ok:
        return;
    case platform::file_result::open_failed:
        throw load_failed("file cannot be created");
    default:
        throw save_failed("write failed");
    }
}

} // namespace tackle::internet::message2
