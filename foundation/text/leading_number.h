#pragma once

#include "foundation/text/text.h"

#include <cstdint>
#include <limits>

namespace tackle {

// The decimal number that a text begins with, as atoi reads it but under no locale: ASCII blanks, a sign, ASCII digits,
// and no further. No digits are 0. A number outside of the type becomes its nearest end, it does not wrap.
template <typename number, typename unit>
[[nodiscard]] constexpr number leading_number(std::basic_string_view<unit> text) noexcept {
    using limits = std::numeric_limits<number>;
    std::size_t i = 0;
    while (i < text.size() && (text[i] == unit(' ') || (text[i] >= unit('\t') && text[i] <= unit('\r'))))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == unit('+') || text[i] == unit('-'))) negative = text[i++] == unit('-');
    // Counted downward: the lowest value has no positive counterpart.
    number value = 0;
    for (; i < text.size() && text[i] >= unit('0') && text[i] <= unit('9'); ++i) {
        const auto digit = static_cast<number>(text[i] - unit('0'));
        if (value < (limits::min() + digit) / 10) return negative ? limits::min() : limits::max();
        value = static_cast<number>(value * 10 - digit);
    }
    if (negative) return value;
    return value == limits::min() ? limits::max() : static_cast<number>(-value);
}

} // namespace tackle
