#pragma once

#include "foundation/coding/coding.h"
#include "foundation/text/line_scanner.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/header_type/parametized_value_type.h"
#include "message/part.h"

#include <algorithm>
#include <vector>

// Rendering follows the model and loading follows the lines, so what was rendered loads to the same tree where the
// lines say all that the model holds. This tells where they do, and compares the trees.
namespace tackle::internet::message2::round_trip {

// A value or parameter that survives quoting and encoded words as it is.
inline bool is_token(string_view text) {
    constexpr string_view signs = "-_./+=: ";
    const bool is_plain = std::ranges::all_of(text, [&](char c) {
        const auto letter = static_cast<char>(c | 0x20);
        return (letter >= 'a' && letter <= 'z') || (c >= '0' && c <= '9') || signs.find(c) != string_view::npos;
    });
    return is_plain && !text.starts_with(' ') && !text.ends_with(' ');
}

// The lines of the data as they are rendered.
inline std::vector<string> body_lines(const part& node) {
    std::vector<string> lines;
    if (node.data().empty() || node.transfer_encoding() == "base64") return lines; // no delimiter can come of it
    part alone;
    alone.remove_headers("Content-Transfer-Encoding");
    alone.add_header("Content-Transfer-Encoding", node.transfer_encoding());
    alone.set_data(string(node.data()));
    return alone.render();
}

// Whether the field reads as the model that it is written from: what else stands in it is written without being
// understood, a quote in the name of a parameter for one.
inline bool is_readable_again(const part& node, string_view content_type) {
    constexpr std::uint32_t utf8 = 65001;
    const bool is_text = node.content_type().starts_with("text/");
    header_type::parametized_value_type value;
    value.parse(content_type);
    value.set_value(node.content_type(), utf8);
    value.remove_parameter("charset");
    if (is_text) value.set_parameter("charset", node.charset());
    if (!node.boundary().empty()) value.set_parameter("boundary", node.boundary());
    const part again{string_view("Content-Type: " + value.render())};
    return again.content_type() == node.content_type() && again.boundary() == node.boundary() &&
           (!is_text || again.charset() == node.charset());
}

// Reading makes blanks of these, and the name of a uuencoded file can hold them: it never was a field.
inline bool has_white_control(string_view value) {
    return std::ranges::any_of(value, [](char c) { return c >= '\t' && c <= '\r'; });
}

// `above` are the lines at which a part around this one would end.
inline bool is_promised(const part& node, std::vector<string>& above, unsigned depth) {
    const string_view type = node.content_type();
    if (depth > part::deepest || !is_token(type) || !is_token(node.charset()) || !is_token(node.boundary()))
        return false;
    if (node.charset().empty() && type.starts_with("text/"))
        return false; // rendered without, and loaded as the default
    const bool is_multipart = type.starts_with("multipart/");
    if (node.boundary().empty()) {
        const bool wraps = type == "message/rfc822" && node.children().size() == 1 && node.data().empty();
        if (!wraps && (!node.children().empty() || type == "message/rfc822")) return false;
    } else if (!is_multipart) {
        return false; // the rest of its children are not rendered, or its own lines would be split
    }
    // A file named .eml becomes a message when it is loaded, also where it did not as its headers had no end, or as it
    // came uuencoded.
    if (type == "application/octet-stream" && part(string_view(node.render_text())).content_type() != type)
        return false;
    const auto cuts = [&](string_view line) { return std::ranges::find(above, line) != above.end(); };
    for (const header_field field : node.headers()) {
        if (iequals(field.name, "Content-Type") && !is_readable_again(node, field.value)) return false;
        if (has_white_control(field.value)) return false;
        if (cuts(string(field.name).append(": ").append(field.value))) return false;
    }
    const std::size_t outside = above.size();
    bool promised = true;
    if (!node.boundary().empty()) {
        const string delimiter = string("--").append(node.boundary());
        promised = !cuts(delimiter) && !cuts(delimiter + "--");
        above.insert(above.end(), {delimiter, delimiter + "--"});
    }
    promised = promised && std::ranges::none_of(body_lines(node), cuts);
    for (const auto& child : node.children())
        promised = promised && is_promised(*child, above, depth + 1);
    above.resize(outside);
    return promised;
}

// Line ends at the end come with the delimiter after the data; those inside are the lines' own.
inline string lines_of(string_view data) {
    string joined;
    string_view line;
    line_scanner lines(data);
    while (lines.next(line))
        (joined += line) += '\n';
    joined.erase(joined.find_last_not_of('\n') + 1);
    return joined;
}

inline bool is_same_data(const part& one, const part& other) {
    if (one.transfer_encoding() == "base64") return one.data() == other.data();
    return lines_of(one.data()) == lines_of(other.data());
}

inline bool is_same(const part& one, const part& other) {
    const bool is_text = one.content_type().starts_with("text/");
    if (one.content_type() != other.content_type() || one.boundary() != other.boundary()) return false;
    if (is_text && one.charset() != other.charset()) return false;
    if (!is_same_data(one, other) || one.children().size() != other.children().size()) return false;
    auto field = other.headers().begin();
    for (const header_field mine : one.headers()) {
        if (field == other.headers().end()) return false;
        const header_field theirs = *field;
        ++field;
        if (mine.name != theirs.name) return false;
        if (!iequals(mine.name, "Content-Type") && mine.value != theirs.value) return false;
    }
    if (field != other.headers().end()) return false;
    return std::ranges::equal(one.children(), other.children(),
                              [](const auto& mine, const auto& theirs) { return is_same(*mine, *theirs); });
}

constexpr std::size_t always_written = 64 * 1024; // of any message, however short

enum class outcome : std::uint8_t { same, different, not_promised };

// Loads what `root` renders to, if that is promised to be the same.
inline outcome compare(const part& root) {
    try {
        const string rendered = root.render_text();
        if (rendered.size() > always_written) return outcome::not_promised; // fields may be left out
        std::vector<string> above;
        if (!is_promised(root, above, 0)) return outcome::not_promised;
        const part again{string_view(rendered)};
        return is_same(root, again) ? outcome::same : outcome::different;
    } catch (const unicode::generic&) { // a type that cannot be read again
        return outcome::not_promised;
    } catch (const coding::translate::generic&) {
        return outcome::not_promised;
    }
}

} // namespace tackle::internet::message2::round_trip
