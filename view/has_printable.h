#pragma once

#include <algorithm>

#include "foundation/text/text.h"
#include "platform/character_class.h"

namespace brimwarden::analysis {

// Whether a reader would see anything of the text: one unit that prints and is neither white space nor a blank.
// Stricter than tackle::has_visible, for which a blank that is no white space counts.
[[nodiscard]] inline bool has_printable(tackle::wstring_view text) {
    using namespace tackle::platform;
    constexpr std::uint16_t printable = upper | lower | digit | punct | blank | hex_digit | alpha;
    const std::uint16_t* const classes = character_classes();
    return std::ranges::any_of(text, [classes](char16_t unit) {
        return (classes[unit] & printable) != 0 && (classes[unit] & (space | blank)) == 0;
    });
}

} // namespace brimwarden::analysis
