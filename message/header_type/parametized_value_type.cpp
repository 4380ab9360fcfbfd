#include "message/header_type/parametized_value_type.h"

#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/header_type/ascii_text.h"
#include "message/header_type/parameter_reader.h"

#include <algorithm>

namespace tackle::internet::message2::header_type {
namespace {

constexpr std::uint32_t utf8 = 65001;

std::size_t find_parameter(const parameter_list& parameters, string_view name) {
    std::size_t at = 0;
    for (const parameter entry : parameters) {
        if (iequals(entry.name, name)) break;
        ++at;
    }
    return at;
}

} // namespace

string parametized_value_type::render() const {
    string out = encode_word(value_);
    for (const parameter entry : parameters_) {
        out += "; ";
        out += entry.name;
        out += "=\"";
        out += encode_word(entry.value);
        out += '"';
    }
    return out;
}

void parametized_value_type::parse(string_view raw) { read(raw, unreadable::raises); }

bool parametized_value_type::parse_readable(string_view raw) { return read(raw, unreadable::fails); }

bool parametized_value_type::read(string_view raw, unreadable how) {
    value_.clear();
    parameters_.clear();
    parameter_reader reader(raw);
    string value;
    if (!reader.next_value(value)) return true;
    // The blank between a value and its semicolon is kept: a type written that way is no known type.
    wstring text;
    const bool readable = decode_words(value, last_blanks::keep, text, how);
    if (readable) value_ = text;
    string name;
    while (reader.next(name, value)) {
        text.clear();
        if (decode_words(value, last_blanks::drop, text, how)) parameters_.add(name, text);
    }
    return readable;
}

bool parametized_value_type::get_parameter(string_view name, wstring& out) const {
    const std::size_t at = find_parameter(parameters_, name);
    if (at == parameters_.size()) return false;
    out = parameters_[at].value;
    return true;
}

bool parametized_value_type::get_parameter(string_view name, string& out) const {
    const std::size_t at = find_parameter(parameters_, name);
    if (at == parameters_.size()) return false;
    assign_narrow(parameters_[at].value, utf8, out);
    return true;
}

void parametized_value_type::set_parameter(string_view name, wstring_view value) {
    const std::size_t at = find_parameter(parameters_, name);
    if (at == parameters_.size()) {
        parameters_.add(name, value);
    } else {
        parameters_.set_second(at, value);
    }
}

void parametized_value_type::set_parameter(string_view name, string_view value) {
    set_parameter(name, unicode::to_wide(value, utf8));
}

void parametized_value_type::add_parameter(string_view name, wstring_view value) { parameters_.add(name, value); }

void parametized_value_type::add_parameter(string_view name, string_view value, std::uint32_t code_page) {
    parameters_.add(name, unicode::to_wide(value, code_page));
}

void parametized_value_type::remove_parameter(string_view name) {
    bool removed = false;
    parameters_.remove_if([&](const parameter& entry) {
        if (removed || !iequals(entry.name, name)) return false;
        return removed = true;
    });
}

} // namespace tackle::internet::message2::header_type
