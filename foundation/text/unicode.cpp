#include "foundation/text/unicode.h"

#include "platform/code_page.h"
#include "platform/widen.h"

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

// Like those, but never counted among them: Windows then refuses it for its flags and for the question about default
// characters, and so do we everywhere, lest one message read differently on two targets. 50221 and 50222 are the names
// that mail uses.
constexpr std::uint32_t refused_page = 50220;

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

// In blocks of a fixed size, which compilers turn into vector instructions; a loop of unknown length they leave alone.
constexpr std::size_t block = 16;

// False if a unit does not fit and `strict`.
bool narrow_raw(wstring_view text, bool strict, string& out) {
    out.resize(text.size());
    const char16_t* from = text.data();
    char* to = out.data();
    std::size_t left = text.size();
    while (left > 0) {
        const std::size_t count = std::min(left, block);
        unsigned all = 0;
        if (count == block) {
            for (std::size_t i = 0; i < block; ++i) {
                all |= from[i];
                to[i] = static_cast<char>(from[i]);
            }
        }
        if (count < block || all > 0xFF) {
            for (std::size_t i = 0; i < count; ++i) {
                if (from[i] > 0xFF && strict) return false;
                to[i] = from[i] > 0xFF ? '?' : static_cast<char>(from[i]);
            }
        }
        left -= count;
        from += count;
        to += count;
    }
    return true;
}

platform::conversion narrow(wstring_view text, std::uint32_t code_page, bool strict, string& out) {
    out.clear();
    if (text.empty()) return platform::conversion::ok;
    if (code_page == raw_code_page)
        return narrow_raw(text, strict, out) ? platform::conversion::ok : platform::conversion::unmappable;
    if (code_page == refused_page) return platform::conversion::unmappable;
    bool used_default = false;
    const auto result = platform::narrow(code_page, text, out, takes_no_flags(code_page) ? nullptr : &used_default);
    return result == platform::conversion::ok && used_default && strict ? platform::conversion::unmappable : result;
}

platform::conversion widen(string_view text, std::uint32_t code_page, wstring& out) {
    out.clear();
    if (text.empty()) return platform::conversion::ok;
    if (code_page == raw_code_page) {
        append_raw(text, out);
        return platform::conversion::ok;
    }
    if (code_page == refused_page) return platform::conversion::failed;
    return platform::widen(code_page, text, !takes_no_flags(code_page), out);
}

} // namespace

void append_raw(string_view text, wstring& out) {
    const auto before = out.size();
    out.resize(before + text.size());
    const char* from = text.data();
    char16_t* to = out.data() + before;
    std::size_t left = text.size();
    for (; left >= platform::widened_at_once; left -= platform::widened_at_once) {
        platform::widen_bytes(from, to);
        from += platform::widened_at_once;
        to += platform::widened_at_once;
    }
    for (; left > 0; --left)
        *to++ = static_cast<unsigned char>(*from++);
}

wstring to_wide(string_view text, std::uint32_t code_page) {
    wstring result;
    raise(widen(text, code_page, result));
    return result;
}

bool try_to_wide(string_view text, std::uint32_t code_page, wstring& out) {
    return widen(text, code_page, out) == platform::conversion::ok;
}

string to_narrow(wstring_view text, std::uint32_t code_page, bool strict) {
    string result;
    raise(narrow(text, code_page, strict, result));
    return result;
}

bool try_to_narrow(wstring_view text, std::uint32_t code_page, string& out) {
    return narrow(text, code_page, true, out) == platform::conversion::ok;
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
