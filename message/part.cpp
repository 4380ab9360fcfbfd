#include "message/part.h"

#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/header_type/parametized_value_type.h"
#include "message/tree_loader.h"
#include "platform/file.h"

#include <algorithm>

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

part::part(const part& other) : headers_(other.headers_), number_(other.number_), headers_from_(other.headers_from_) {
    if (!other.body_) return;
    body().data = other.body_->data;
    body().file_name = other.body_->file_name;
    set_content_type(other.content_type());
    if (!other.body_->rest) return;
    rest().charset = other.charset();
    rest().boundary = other.boundary();
    rest().text = other.body_->rest->text;
    rest().children.reserve(other.children().size());
    for (const auto& child : other.children())
        rest().children.push_back(std::make_unique<part>(*child));
}

// The copy is complete before anything of this part goes, so that a part can take over one of its own children.
part& part::operator=(const part& other) {
    if (this != &other) *this = part(other);
    return *this;
}

std::uint32_t part::number_from(std::uint32_t first) noexcept {
    number_ = first++;
    for (const auto& child : children())
        first = child->number_from(first);
    return first;
}

part::part_body& part::body() const {
    if (!body_) body_ = std::make_unique<part_body>();
    return *body_;
}

part::body_rest& part::rest() const {
    auto& filled = body().rest;
    if (!filled) filled = std::make_unique<body_rest>();
    return *filled;
}

void part::set_content_type(string_view type) {
    if (type == content_type()) return;
    auto copy = std::make_unique_for_overwrite<char[]>(type.size());
    std::ranges::copy(type, copy.get());
    body().type = {copy.get(), type.size()};
    body().own_type = std::move(copy);
}

void part::make_headers() const {
    header_list made;
    if (headers_from_ == header_origin::empty_type) {
        made.add("Content-Type", {});
    } else {
        made = part().headers_;
        made.add("Content-Disposition", disposition_of_file());
        // After the one that a new part has, which stays in force.
        made.add("Content-Transfer-Encoding", "base64");
    }
    headers_ = std::move(made);
    headers_from_ = header_origin::list;
}

const header_list& part::headers() const {
    if (headers_from_ != header_origin::list) make_headers();
    return headers_;
}

std::optional<string_view> part::find_header(string_view name) const {
    if (headers_from_ == header_origin::empty_type)
        return iequals(name, "Content-Type") ? std::optional(string_view()) : std::nullopt;
    const std::size_t found = headers().find(name);
    if (found == headers_.size()) return std::nullopt;
    return headers_[found].value;
}

bool part::get_header(string_view name, header_type::generic_value_type& value) const {
    const auto raw = find_header(name);
    if (raw) value.parse(*raw);
    return raw.has_value();
}

bool part::get_header(string_view name, string& raw) const {
    const auto found = find_header(name);
    if (found) raw = *found;
    return found.has_value();
}

void part::add_header(string_view name, const header_type::generic_value_type& value) {
    add_header(name, value.render());
}

void part::add_header(string_view name, string_view raw) {
    if (headers_from_ != header_origin::list) make_headers();
    forget_readings();
    headers_.add(name, raw);
}

void part::remove_headers(string_view name) {
    if (headers_from_ != header_origin::list) make_headers();
    forget_readings();
    headers_.remove(name);
}

const wstring& part::text() {
    wstring& text = rest().text;
    if (text.empty()) text = unicode::to_wide(data(), unicode::code_page_of(charset()));
    return text;
}

string part::text_in(std::uint32_t code_page) { return unicode::to_narrow(text(), code_page, true); }

void part::set_text(wstring_view text) {
    string data = unicode::to_narrow(text, unicode::code_page_of(charset()), true);
    rest().text = text;
    set_data(std::move(data));
}

void part::set_text(string_view text, std::uint32_t code_page) { set_text(unicode::to_wide(text, code_page)); }

string part::transfer_encoding() const {
    const auto raw = find_header("Content-Transfer-Encoding");
    header_type::unstructured_value_type value;
    string encoding;
    if (!raw || !value.try_parse(*raw)) return encoding; // one that can't be read counts as absent
    to_lower_in_place(value.value_in(encoding, utf8));
    return encoding;
}

string part::disposition_of_file() const {
    header_type::parametized_value_type disposition("utf-8");
    disposition.set_value(u"attachment");
    disposition.set_parameter("filename", body_->file_name);
    return disposition.render();
}

// As its field would say it, which most names need no field for.
wstring part::file_name() const {
    const auto is_plain = [](char16_t unit) {
        return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
               unit == u'.' || unit == u'-' || unit == u'_';
    };
    wstring name = body_->file_name;
    if (std::ranges::all_of(name, is_plain)) return name;
    header_type::parametized_value_type value;
    value.parse_readable(disposition_of_file());
    name.clear();
    value.get_parameter("filename", name);
    return name;
}

// Type, charset and boundary of the model follow each Content-Type field, so that the last of several is in force.
void part::apply_content_type(string_view raw) {
    header_type::parametized_value_type value;
    if (!value.parse_readable(raw)) value.parse(raw); // throws, and says why
    string text;
    value.value_in(text, utf8);
    to_lower_in_place(text);
    set_content_type(text);
    const auto set = [&](string_view name, string_view absent, string_view now, string body_rest::*member) {
        text = absent;
        value.get_parameter(name, text);
        if (member == &body_rest::charset) to_lower_in_place(text);
        if (text != now) rest().*member = text;
    };
    set("charset", default_charset, charset(), &body_rest::charset);
    set("boundary", {}, boundary(), &body_rest::boundary);
}

} // namespace tackle::internet::message2
