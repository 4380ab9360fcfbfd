#include "foundation/unicode.h"

#include "platform/code_page.h"

#include <algorithm>

namespace tackle::unicode {

namespace {

// The platform takes no flags for these: it replaces what it cannot read, and tells nothing about default characters.
bool takes_no_flags(std::uint32_t code_page) {
    switch (code_page) {
    case 65001:
    case 65000:
    case 42:
    case 50221:
    case 50222:
    case 50225:
    case 50227:
    case 50229:
    case 52936:
    case 54936:
        return true;
    default:
        return code_page >= 57002 && code_page <= 57011;
    }
}

void raise(platform::conversion result) {
    switch (result) {
    case platform::conversion::ok:
        return;
    case platform::conversion::too_small:
        throw out_of_memory("");
    case platform::conversion::invalid_code_page:
        throw invalid_codepage("");
    case platform::conversion::unmappable:
        throw unmappable_character("");
    default:
        throw generic("");
    }
}

} // namespace

wstring to_wide(string_view text, std::uint32_t code_page) {
    wstring result;
    if (text.empty()) return result;
    if (code_page == raw_code_page) {
        result.resize(text.size());
        std::ranges::transform(text, result.begin(), [](char c) { return static_cast<unsigned char>(c); });
        return result;
    }
    raise(platform::widen(code_page, text, !takes_no_flags(code_page), result));
    return result;
}

string to_narrow(wstring_view text, std::uint32_t code_page, bool strict) {
    string result;
    if (text.empty()) return result;
    if (code_page == raw_code_page) {
        result.resize(text.size());
        std::ranges::transform(text, result.begin(), [strict](char16_t c) {
            if (c < 256) return static_cast<char>(c);
            if (strict) throw unmappable_character("");
            return '?';
        });
        return result;
    }
    bool used_default = false;
    raise(platform::narrow(code_page, text, result, takes_no_flags(code_page) ? nullptr : &used_default));
    if (used_default && strict) throw unmappable_character("");
    return result;
}

string recode(string_view text, std::uint32_t from_code_page, std::uint32_t to_code_page) {
    return to_narrow(to_wide(text, from_code_page), to_code_page, true);
}

bool round_trips(wstring_view text, std::uint32_t code_page) {
    try {
        return to_wide(to_narrow(text, code_page, true), code_page) == text;
    } catch (const invalid_codepage&) {
        return false;
    } catch (const unmappable_character&) {
        return false;
    }
}

} // namespace tackle::unicode
