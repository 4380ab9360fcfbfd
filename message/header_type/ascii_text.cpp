#include "message/header_type/ascii_text.h"

#include "foundation/text/unicode.h"

namespace tackle::internet::message2::header_type {

bool keeps_ascii(std::uint32_t code_page) {
    return code_page == unicode::raw_code_page || code_page == 65001 || code_page == 20127 ||
           (code_page >= 28591 && code_page <= 28599) || code_page == 28605 || (code_page >= 1250 && code_page <= 1258);
}

bool is_letters(string_view text) {
    return std::ranges::all_of(text, [](char c) { return c > ' ' && c < '~' && c != '+' && c != '\\' && c != '&'; });
}

bool keeps_letters(std::uint32_t code_page) {
    string letters;
    for (char c = ' '; c < '~'; ++c)
        if (is_letters({&c, 1})) letters += c;
    wstring wide;
    return unicode::try_to_wide(letters, code_page, wide) && std::ranges::equal(letters, wide);
}

void append_wide(string_view text, std::uint32_t code_page, wstring& out) {
    if (keeps_ascii(code_page) && is_ascii(text)) {
        unicode::append_raw(text, out);
    } else {
        out += unicode::to_wide(text, code_page);
    }
}

bool try_append_wide(string_view text, std::uint32_t code_page, wstring& out) {
    if (keeps_ascii(code_page) && is_ascii(text)) {
        unicode::append_raw(text, out);
        return true;
    }
    wstring wide;
    if (!unicode::try_to_wide(text, code_page, wide)) return false;
    out += wide;
    return true;
}

void assign_narrow(wstring_view text, std::uint32_t code_page, string& out) {
    if (keeps_ascii(code_page) && is_ascii(text)) {
        out.assign(text.begin(), text.end());
    } else {
        out = unicode::to_narrow(text, code_page, true);
    }
}

} // namespace tackle::internet::message2::header_type
