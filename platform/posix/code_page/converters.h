#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tackle::platform {

// How a code page maps to the converters that ICU has.
enum class page_kind : std::uint8_t {
    single_byte, // each byte by itself
    double_byte, // lead bytes and their trail bytes
    johab,       // the same, made from the Korean standard that the converter has
    sequence,    // shift states or longer sequences: only the converter itself knows
};

struct converter_row {
    std::uint32_t code_page;
    page_kind kind;
    bool ascii; // the lower half is ASCII, even where the converter has the terminal's exchanged control characters
    const char* name;
    // Of a standard with two planes: what the converter has in front of a pair of the second one. In the code page the
    // top bit of the trail byte is clear instead.
    std::string_view second_plane = {};
};

// All of them, in a fixed place.
[[nodiscard]] std::span<const converter_row> converter_rows();
// One of them, or null if there is no converter for the code page.
[[nodiscard]] const converter_row* find_converter(std::uint32_t code_page);

} // namespace tackle::platform
