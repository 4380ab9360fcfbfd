#include "foundation/coding/coding.h"
#include "foundation/text/line_scanner.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/header_type/parametized_value_type.h"
#include "message/part.h"
#include "platform/file.h"

#include <algorithm>

namespace tackle::internet::message2 {
namespace {

constexpr std::uint32_t utf8 = 65001;
constexpr std::size_t base64_line_bytes = 57;         // 76 characters
constexpr std::size_t quoted_printable_line_end = 60; // a line goes out as soon as it is longer

// The field as the model has it now, whatever stood there.
string render_content_type(const part& node, string_view raw) {
    header_type::parametized_value_type value;
    value.parse(raw);
    value.set_value(node.content_type(), utf8);
    if (node.content_type().starts_with("text/") && !node.charset().empty()) {
        value.set_parameter("charset", node.charset());
    } else {
        value.remove_parameter("charset");
    }
    if (!node.boundary().empty()) value.set_parameter("boundary", node.boundary());
    return value.render();
}

template <typename line_sink>
void render_headers(const part& node, const line_sink& sink) {
    for (const header_field field : node.headers()) {
        string line(field.name);
        line += ": ";
        if (iequals(field.name, "Content-Type")) {
            line += render_content_type(node, field.value);
        } else {
            line += field.value;
        }
        sink(line);
    }
    sink(string_view());
}

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

template <typename line_sink>
void render_body(const part& node, const line_sink& sink) {
    const string encoding = node.transfer_encoding();
    if (encoding == "base64") {
        render_base64(node.data(), sink);
    } else if (encoding == "quoted-printable") {
        render_quoted_printable(node.data(), sink);
    } else {
        line_scanner lines(node.data());
        string_view line;
        while (lines.next(line))
            sink(line);
    }
}

template <typename line_sink>
void render_part(const part& node, const line_sink& sink) {
    render_headers(node, sink);
    if (!node.data().empty()) render_body(node, sink);
    if (node.children().empty()) return;
    if (!node.content_type().starts_with("multipart/")) {
        render_part(*node.children().front(), sink); // an attached message; there is no way to write another one
        return;
    }
    const string delimiter = "--" + node.boundary();
    for (const auto& child : node.children()) {
        sink(delimiter);
        render_part(*child, sink);
    }
    sink(delimiter + "--");
}

} // namespace

void part::render(std::vector<string>& lines) const {
    render_part(*this, [&](string_view line) { lines.emplace_back(line); });
}

std::vector<string> part::render() const {
    std::vector<string> lines;
    render(lines);
    return lines;
}

string part::render_text() const {
    string text;
    render_part(*this, [&](string_view line) {
        text += line;
        text += "\r\n";
    });
    return text;
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
