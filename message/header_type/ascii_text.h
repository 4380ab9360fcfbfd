#pragma once

#include "foundation/text/text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

// Conversions as in foundation/text/unicode.h, for header texts: most of them are ASCII in a code page that has it, and need
// no converter.
namespace tackle::internet::message2::header_type {

// Looks at several units at once, and to the end: most texts are ASCII.
template <typename view>
[[nodiscard]] bool is_ascii(view text) {
    using word = std::uint64_t;
    constexpr std::size_t unit_size = sizeof(typename view::value_type);
    constexpr std::size_t at_once = sizeof(word) / unit_size;
    constexpr word beyond = unit_size == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80;
    word all = 0;
    std::size_t i = 0;
    for (; i + at_once <= text.size(); i += at_once) {
        word next;
        std::memcpy(&next, text.data() + i, sizeof next);
        all |= next;
    }
    if ((all & beyond) != 0) return false;
    return std::all_of(text.begin() + static_cast<std::ptrdiff_t>(i), text.end(),
                       [](auto unit) { return (unit & ~0x7F) == 0; });
}

// Whether each byte below 0x80 is the unit of the same value, for certain and on every target.
[[nodiscard]] bool keeps_ascii(std::uint32_t code_page);

// Whether texts for which is_letters holds are the same in the code page, each by itself. Asks the code page.
[[nodiscard]] bool keeps_letters(std::uint32_t code_page);
// Printable ASCII without what begins an escape in some code page.
[[nodiscard]] bool is_letters(string_view text);

// Throws as unicode::to_wide, before anything is appended.
void append_wide(string_view text, std::uint32_t code_page, wstring& out);
// The same as unicode::try_to_wide: false where append_wide throws; nothing is appended then.
[[nodiscard]] bool try_append_wide(string_view text, std::uint32_t code_page, wstring& out);

// Strict. Throws as unicode::to_narrow; `out` is then left alone.
void assign_narrow(wstring_view text, std::uint32_t code_page, string& out);

} // namespace tackle::internet::message2::header_type
