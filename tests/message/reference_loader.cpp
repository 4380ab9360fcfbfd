#include "reference_loader.h"

#include "foundation/coding/coding.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/header_type/parametized_value_type.h"

#include <cstring>

namespace tackle::internet::message2 {
namespace {

using header_type::parametized_value_type;
using header_type::unstructured_value_type;
using lines = std::vector<string>;
using line = lines::const_iterator;

bool white(char c) { return std::strchr(" \t\n\v\f\r", c) != nullptr && c != '\0'; }

lines split_lines(const string& text) {
    lines out(1);
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\r' && text[at] != '\n') {
            out.back() += text[at];
            continue;
        }
        const char other = text[at] == '\r' ? '\n' : '\r';
        if (at + 1 < text.size() && text[at + 1] == other) ++at;
        out.emplace_back();
    }
    return out;
}

bool get(const plain_part& node, const char* name, header_type::generic_value_type& value) {
    for (const auto& [field, raw] : node.headers) {
        if (!iequals(field, name)) continue;
        value.parse(raw);
        return true;
    }
    return false;
}

string encoding_of(const plain_part& node) {
    try {
        unstructured_value_type value;
        string out;
        if (!get(node, "content-transfer-encoding", value)) return out;
        return to_lower(value.value_in(out, 65001));
    } catch (const exception&) {
        return {};
    }
}

wstring file_name_of(const plain_part& node) {
    try {
        part fields;
        fields.remove_headers("content-type");
        for (const auto& [field, value] : node.headers)
            fields.add_header(field, value);
        return to_lower(fields.attachment_info().filename);
    } catch (const exception&) {
        return {};
    }
}

void apply_type(plain_part& node, const string& raw) {
    parametized_value_type value;
    value.parse(raw);
    value.value_in(node.content_type, 65001);
    node.content_type = to_lower(node.content_type);
    node.charset = "iso-8859-1";
    value.get_parameter("charset", node.charset);
    node.charset = to_lower(node.charset);
    node.boundary.clear();
    value.get_parameter("boundary", node.boundary);
}

line read_fields(plain_part& node, line at, line end) {
    lines joined;
    for (; at != end && !at->empty(); ++at) {
        string cleaned;
        for (const char c : *at)
            if (!white(c) || !cleaned.empty()) cleaned += white(c) ? ' ' : c;
        if (white(at->front()) && !joined.empty()) {
            joined.back() += " " + cleaned;
        } else {
            joined.push_back(cleaned);
        }
    }
    bool any_type = false;
    for (const string& field : joined) {
        const std::size_t colon = field.find_first_of(": ");
        const std::size_t value = colon == string::npos ? colon : field.find_first_not_of(": ", colon);
        node.headers.emplace_back(field.substr(0, colon), value == string::npos ? "" : field.substr(value));
        if (!iequals(node.headers.back().first, "content-type")) continue;
        any_type = true;
        apply_type(node, node.headers.back().second);
    }
    if (!any_type) node.headers.emplace_back("Content-Type", "");
    return at;
}

bool take_uuencoded(plain_part& node, line& at, line end) {
    const std::size_t mode = at->find(' ');
    const std::size_t blank = mode == string::npos ? mode : at->find(' ', mode + 1);
    if (blank == string::npos) return false;
    string data;
    line next = at + 1;
    for (; next != end && !next->starts_with("end"); ++next) {
        if (next->empty()) return false;
        try {
            data += coding::translate::uu_decode(next->substr(1), true);
        } catch (const coding::translate::invalid_codeword&) {
            return false;
        }
    }
    if (next == end) return false;
    parametized_value_type disposition("utf-8");
    disposition.set_value(u"attachment");
    wstring name;
    try {
        name = unicode::to_wide(at->substr(blank + 1), unicode::code_page_of(node.charset));
    } catch (const unicode::generic&) {
        name = unicode::to_wide(at->substr(blank + 1), unicode::raw_code_page);
    }
    disposition.set_parameter("filename", name);
    plain_part& file = node.children.emplace_back();
    file.headers = {{"Content-Type", "text/plain; charset=\"iso-8859-1\""},
                    {"Content-Transfer-Encoding", "quoted-printable"},
                    {"Content-Disposition", disposition.render()},
                    {"Content-Transfer-Encoding", "base64"}};
    const wstring lower = to_lower(name);
    file.content_type = lower.ends_with(u".txt") ? "text/plain" : "application/octet-stream";
    file.data = data;
    at = next;
    return true;
}

void store(plain_part& node, line at, line end) {
    const string encoding = encoding_of(node);
    string pending;
    bool any_file = false;
    for (; at != end; ++at) {
        if (encoding == "base64") {
            pending += *at;
            if (pending.size() % 4 != 0) continue;
            node.data += coding::translate::base64_decode(pending, false);
            pending.clear();
        } else if (encoding == "quoted-printable") {
            const bool soft = at->ends_with("=");
            coding::translate::quoted_printable_decode(soft ? at->substr(0, at->size() - 1) : *at, node.data, false);
            if (!soft) node.data += "\r\n";
        } else if (at->starts_with("begin") && take_uuencoded(node, at, end)) {
            any_file = true;
        } else {
            node.data += *at + "\r\n";
        }
    }
    node.data += coding::translate::base64_decode(pending, false);
    if (!any_file) return;
    plain_part& text = node.children.emplace_back();
    text.headers = {{"Content-Type", "text/plain; charset=\"iso-8859-1\""},
                    {"Content-Transfer-Encoding", "quoted-printable"}};
    std::swap(text.content_type, node.content_type);
    std::swap(text.charset, node.charset);
    std::swap(text.data, node.data);
    std::swap(text.boundary, node.boundary);
    node.content_type = "multipart/mixed";
    node.boundary = "=_uue_conversion_boundary";
}

void parse(plain_part& node, line begin, line end, int depth);

void parse_child(plain_part& node, line begin, line end, int depth) {
    if (depth >= 64) throw depth_limit("");
    parse(node.children.emplace_back(), begin, end, depth + 1);
}

void parse(plain_part& node, line begin, line end, int depth) {
    line at = read_fields(node, begin, end);
    const string delimiter = "--" + node.boundary;
    const string closing = delimiter + "--";
    const bool split = !node.boundary.empty();
    bool nested = node.content_type == "message/rfc822";
    while (at != end && *at != closing) {
        const line first = ++at;
        if (!split) at = end;
        while (at != end && *at != delimiter && *at != closing)
            ++at;
        if (nested) {
            parse_child(node, first, at, depth);
            continue;
        }
        store(node, first, at);
        if (node.content_type == "application/octet-stream" && file_name_of(node).ends_with(u".eml")) {
            const lines attached = split_lines(node.data);
            parse_child(node, attached.begin(), attached.end(), depth);
            node.content_type = "message/rfc822";
            std::erase_if(node.headers, [](const auto& h) { return iequals(h.first, "content-transfer-encoding"); });
            node.data.clear();
        }
        nested = split;
    }
}

template <typename node_type>
void describe_headers(const node_type& headers, const string& indent, string& out) {
    for (const auto& [name, value] : headers)
        ((((out += indent) += name) += "|") += value) += "\n";
}

void describe(const string& type, const string& charset, const string& boundary, const string& data,
              const string& indent, string& out) {
    out += indent + "[" + type + "][" + charset + "][" + boundary + "]\n" + indent + "{" + data + "}\n";
}

void describe(const plain_part& node, const string& indent, string& out) {
    describe_headers(node.headers, indent, out);
    describe(node.content_type, node.charset, node.boundary, node.data, indent, out);
    for (const plain_part& child : node.children)
        describe(child, indent + "  ", out);
}

void describe(const part& node, const string& indent, string& out) {
    describe_headers(node.headers(), indent, out);
    describe(node.content_type(), node.charset(), node.boundary(), node.data(), indent, out);
    for (const auto& child : node.children())
        describe(*child, indent + "  ", out);
}

} // namespace

plain_part load_by_reference(const string& message) {
    const lines all = split_lines(message);
    plain_part root;
    parse(root, all.begin(), all.end(), 0);
    return root;
}

string describe(const plain_part& node) {
    string out;
    describe(node, "", out);
    return out;
}

string describe(const part& node) {
    string out;
    describe(node, "", out);
    return out;
}

} // namespace tackle::internet::message2
