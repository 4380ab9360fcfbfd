#pragma once

#include <cstdint>
#include <span>

namespace tackle::platform {

// How a code page maps to the converters that ICU has.
enum class page_kind : std::uint8_t {
    single_byte, // each byte by itself
    double_byte, // lead bytes and their trail bytes
    sequence,    // shift states or longer sequences: only the converter itself knows
};

struct converter_row {
    std::uint32_t code_page;
    page_kind kind;
    bool ascii; // the lower half is ASCII, even where the converter has the terminal's exchanged control characters
    const char* name;
};

// One byte of a single- or double-byte page that means something else than its converter says.
struct patch_row {
    std::uint32_t code_page;
    std::uint8_t byte;
    char16_t unit; // U+FFFD: the byte means nothing
};

// All of them, in a fixed place.
[[nodiscard]] std::span<const converter_row> converter_rows();
// One of them, or null if there is no converter for the code page.
[[nodiscard]] const converter_row* find_converter(std::uint32_t code_page);
[[nodiscard]] std::span<const patch_row> find_patches(std::uint32_t code_page);

// The upper half, 128 units, of a page that ICU does not have, or only one that is too different; else null.
[[nodiscard]] const char16_t* find_upper_half(std::uint32_t code_page);

} // namespace tackle::platform
