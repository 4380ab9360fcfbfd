#include "message/part.h"

#include "foundation/coding.h"
#include "foundation/strings.h"
#include "foundation/unicode.h"
#include "message/header_type/parametized_value_type.h"
#include "message/tree_loader.h"
#include "platform/file.h"

namespace tackle::internet::message2 {
namespace {

constexpr std::uint32_t utf8 = 65001;

string read_file(wstring_view path) {
    string bytes;
    switch (platform::read_whole_file(path, bytes)) {
    case platform::file_result::ok:
        return bytes;
    case platform::file_result::open_failed:
        throw load_failed("file not found");
    default:
        throw load_failed("read failed");
    }
}

} // namespace

part::part() {
    headers_.add("Content-Type", "text/plain; charset=\"iso-8859-1\"");
    headers_.add("Content-Transfer-Encoding", "quoted-printable");
}

part::part(string_view message) {
    tree_loader::load(*this, message);
    number_from(1);
}

part::part(wstring_view path) {
    tree_loader::load(*this, read_file(path));
    number_from(1);
}

part::part(const std::list<string>& lines) : part(lines.begin(), lines.end()) {}

part::part(std::list<string>::const_iterator lines_begin, std::list<string>::const_iterator lines_end) {
    if (lines_begin == lines_end) {
        tree_loader::load_nothing(*this);
        return;
    }
    string message = *lines_begin;
    for (auto line = std::next(lines_begin); line != lines_end; ++line)
        (message += "\r\n") += *line;
    tree_loader::load(*this, std::move(message));
    number_from(1);
}

part::part(const part& other)
    : headers_(other.headers_), content_(other.content_), boundary_(other.boundary_), number_(other.number_) {
    children_.reserve(other.children_.size());
    for (const auto& child : other.children_)
        children_.push_back(std::make_unique<part>(*child));
}

// The copy is complete before anything of this part goes, so that a part can take over one of its own children.
part& part::operator=(const part& other) {
    if (this != &other) *this = part(other);
    return *this;
}

std::uint32_t part::number_from(std::uint32_t first) noexcept {
    number_ = first++;
    for (const auto& child : children_)
        first = child->number_from(first);
    return first;
}

bool part::get_header(string_view name, header_type::generic_value_type& value) const {
    for (const header_field field : headers_) {
        if (!is_named(field, name)) continue;
        value.parse(field.value);
        return true;
    }
    return false;
}

bool part::get_header(string_view name, string& raw) const {
    for (const header_field field : headers_) {
        if (!is_named(field, name)) continue;
        raw = field.value;
        return true;
    }
    return false;
}

void part::add_header(string_view name, const header_type::generic_value_type& value) {
    headers_.add(name, value.render());
}

void part::add_header(string_view name, string_view raw) { headers_.add(name, raw); }

void part::remove_headers(string_view name) {
    headers_.remove_if([&](const header_field& field) { return is_named(field, name); });
}

const wstring& part::text() {
    if (content_.text.empty()) content_.text = unicode::to_wide(content_.data, unicode::code_page_of(content_.charset));
    return content_.text;
}

string part::text_in(std::uint32_t code_page) { return unicode::to_narrow(text(), code_page, true); }

void part::set_text(wstring_view text) {
    string data = unicode::to_narrow(text, unicode::code_page_of(content_.charset), true);
    content_.text = text;
    content_.data = std::move(data);
}

void part::set_text(string_view text, std::uint32_t code_page) { set_text(unicode::to_wide(text, code_page)); }

string part::transfer_encoding() const {
    header_type::unstructured_value_type value;
    string encoding;
    try {
        if (!get_header("Content-Transfer-Encoding", value)) return encoding;
        value.value_in(encoding, utf8);
    } catch (const unicode::generic&) {
        return {}; // one that can't be read counts as absent
    } catch (const coding::translate::generic&) {
        return {};
    }
    to_lower_in_place(encoding);
    return encoding;
}

attachment_info part::attachment_info() const {
    message2::attachment_info info;
    header_type::parametized_value_type value;
    if (get_header("Content-Type", value)) {
        // The type in force, and not the one that stands in the field: a message attached as a file has become one.
        info.is_attachment = iequals(content_.content_type, "message/rfc822");
        value.get_parameter("name", info.filename);
    }
    if (get_header("Content-Disposition", value)) {
        info.is_attachment = iequals(value.value(), u"attachment");
        value.get_parameter("filename", info.filename);
    }
    return info;
}

// Type, charset and boundary of the model follow each Content-Type field, so that the last of several is in force.
void part::apply_content_type(string_view raw) {
    header_type::parametized_value_type value;
    value.parse(raw);
    value.value_in(content_.content_type, utf8);
    to_lower_in_place(content_.content_type);
    if (!value.get_parameter("charset", content_.charset)) content_.charset = "iso-8859-1";
    to_lower_in_place(content_.charset);
    if (!value.get_parameter("boundary", boundary_)) boundary_.clear();
}

} // namespace tackle::internet::message2
