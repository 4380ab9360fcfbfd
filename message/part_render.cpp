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

// Writes at most 8 times the message and 64 KiB. Each byte of the message earns room for 8. What is written for a part as
// it stands needs less than the part has earned, and is paid before anything else of it; what a field grows by when it
// is rebuilt, and the fields that the loader has made, are written while there is room. Otherwise many short fields could
// each name one long boundary, and many short files each get a header.
template <typename line_sink>
class renderer {
public:
    explicit renderer(const line_sink& sink) : sink_(sink) {}

    // `made` if the loader has made the part of a uuencoded text, and its fields.
    void render(const part& node, bool made) {
        pay(node, made);
        for (const header_field field : node.headers())
            render_field(node, field, made);
        sink_({});
        if (!node.data().empty()) render_body(node);
        if (node.children().empty()) return;
        if (!is_multipart(node)) {
            render(*node.children().front(), false); // an attached message; there is no way to write another one
            return;
        }
        const string delimiter = string("--").append(node.boundary());
        for (const auto& child : node.children()) {
            const bool child_made = pay_delimiter(node, *child);
            sink_(delimiter);
            render(*child, child_made);
        }
        sink_(delimiter + "--");
    }

private:
    static constexpr std::ptrdiff_t room_for_byte = 8;
    static constexpr std::size_t line_end = 2; // CR LF
    static constexpr std::size_t dashes = 2;

    static bool is_type(const header_field& field) { return iequals(field.name, "Content-Type"); }
    static bool is_multipart(const part& node) { return node.content_type().starts_with("multipart/"); }
    static bool is_converted(const part& node) { return node.boundary() == tree_loader::uuencoded_boundary; }
    // As it stands.
    static std::size_t line_size(const header_field& field) {
        return field.name.size() + string_view(": ").size() + field.value.size() + line_end;
    }
    // The loader adds an empty Content-Type where there is none.
    static bool is_made(const header_field& field, bool part_made) {
        return part_made || (is_type(field) && field.value.empty());
    }

    // As a part of the loader's own.
    [[nodiscard]] bool begins_as_new(const part& node) const {
        const header_list& made = new_part_.headers();
        if (node.headers().size() < made.size()) return false;
        for (std::size_t i = 0; i < made.size(); ++i)
            if (node.headers()[i].name != made[i].name || node.headers()[i].value != made[i].value) return false;
        return true;
    }

    // At least so many bytes of the message, at most so many bytes of its rendering.
    void earn(std::size_t bytes) { room_ += room_for_byte * static_cast<std::ptrdiff_t>(bytes); }
    void spend(std::size_t bytes) { room_ -= static_cast<std::ptrdiff_t>(bytes); }

    void pay(const part& node, bool made) {
        for (const header_field field : node.headers()) {
            if (is_made(field, made)) continue;
            earn(field.name.size() + field.value.size() + 1);
            spend(line_size(field));
        }
        spend(line_end);
        if (const std::size_t bytes = node.data().size(); bytes != 0) {
            earn(bytes / 2 + 1);       // a line end of two bytes may have been one, and one has ended the headers
            spend(bytes * 19 / 6 + 8); // quoted-printable, where each byte is an escape and each 60th begins a line
        }
        if (node.children().empty() || !is_multipart(node)) return;
        const std::size_t delimiter = dashes + node.boundary().size() + line_end;
        spend(delimiter + dashes);
        if (is_converted(node)) spend(delimiter); // of the text around the files
    }

    // For the least that the message has for a child. True if the loader has made it.
    bool pay_delimiter(const part& node, const part& child) {
        const bool made = is_converted(node) && begins_as_new(child);
        if (made && child.headers().size() == new_part_.headers().size()) return true; // the text around the files
        if (made) {
            earn(string_view("begin  \nend").size());
        } else {
            earn(string_view("--\n").size() + (is_converted(node) ? 1 : node.boundary().size()));
        }
        spend(dashes + node.boundary().size() + line_end);
        return made;
    }

    void render_field(const part& node, const header_field& field, bool part_made) {
        const bool made = is_made(field, part_made);
        const auto paid = static_cast<std::ptrdiff_t>(made ? 0 : line_size(field));
        string line = string(field.name) + ": ";
        const auto rebuilt =
            is_type(field) ? rebuild_type(node, field.value, room_ + paid, line.size() + line_end) : std::nullopt;
        line += rebuilt ? string_view(*rebuilt) : field.value;
        const auto more = static_cast<std::ptrdiff_t>(line.size() + line_end) - paid;
        if (made && more > room_) return;
        room_ -= more;
        sink_(line);
    }

    // Nullopt if there is no room; what was tried in vain counts as written, or each field could try it again.
    std::optional<string> rebuild_type(const part& node, string_view raw, std::ptrdiff_t room, std::size_t around) {
        header_type::content_type_model model = {node.content_type(), {}, node.boundary()};
        if (node.content_type().starts_with("text/")) model.charset = node.charset();
        const std::size_t least = model.type.size() + model.charset.size() + model.boundary.size();
        if (room < static_cast<std::ptrdiff_t>(around + least)) return std::nullopt;
        auto rebuilt = header_type::rebuild_content_type(raw, model, static_cast<std::size_t>(room) - around);
        if (!rebuilt || rebuilt->size() < least) spend(least);
        return rebuilt;
    }

    void render_body(const part& node) {
        const string encoding = node.transfer_encoding();
        if (encoding == "base64") {
            render_base64(node.data(), sink_);
        } else if (encoding == "quoted-printable") {
            render_quoted_printable(node.data(), sink_);
        } else {
            line_scanner lines(node.data());
            string_view line;
            while (lines.next(line))
                sink_(line);
        }
    }

    const line_sink& sink_;
    const part new_part_;
    std::ptrdiff_t room_ = 64 * 1024 - room_for_byte; // the last line of the message may have no end
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
