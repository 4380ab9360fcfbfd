#include "message/header_type/parametized_value_type.h"

#include "foundation/strings.h"
#include "foundation/unicode.h"
#include "message/header_type/ascii_text.h"
#include "message/tokenize.h"

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

bool parametized_value_type::try_parse(string_view raw) { return read(raw, unreadable::fails); }

bool parametized_value_type::read(string_view raw, unreadable how) {
    value_.clear();
    parameters_.clear();
    token_reader tokens(raw, ";,", true);
    string token;
    if (!tokens.next(token)) return true;
    // The blank between a value and its semicolon is kept: a type written that way is no known type.
    wstring text;
    if (!decode_words(token, last_blanks::keep, text, how)) return false;
    value_ = text;
    string name;
    string value;
    string more;
    while (tokens.next(token)) {
        token_reader pieces(token, "=", false);
        if (!pieces.next(name)) continue;
        const bool has_value = pieces.next(value);
        if (has_value && pieces.next(more)) continue;
        text.clear();
        if (has_value && !decode_words(value, last_blanks::drop, text, how)) return false;
        parameters_.add(name, text);
    }
    return true;
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
