#include "message/header_type/unstructured_value_type.h"

#include "foundation/text/unicode.h"
#include "message/header_type/ascii_text.h"

#include <utility>

namespace tackle::internet::message2::header_type {

string unstructured_value_type::render() const { return encode_word(value_); }

void unstructured_value_type::parse(string_view raw) {
    value_.clear();
    value_ = decode_words(raw, last_blanks::drop);
}

bool unstructured_value_type::try_parse(string_view raw) {
    value_.clear();
    wstring text;
    const bool readable = decode_words(raw, last_blanks::drop, text, unreadable::fails);
    if (readable) value_ = std::move(text);
    return readable;
}

string& unstructured_value_type::value_in(string& out, std::uint32_t code_page) const {
    assign_narrow(value_, code_page, out);
    return out;
}

void unstructured_value_type::set_value(wstring_view text) { value_ = text; }

void unstructured_value_type::set_value(string_view text, std::uint32_t code_page) {
    value_ = unicode::to_wide(text, code_page);
}

} // namespace tackle::internet::message2::header_type
