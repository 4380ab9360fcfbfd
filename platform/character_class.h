#pragma once

#include <cstdint>

namespace tackle::platform {

// What a 16-bit unit is, one bit for each property. The values are those of the Windows call for the class CT_CTYPE1,
// which needs no translation there. A surrogate is classified by itself and never as half of a pair.
inline constexpr std::uint16_t upper = 0x1;
inline constexpr std::uint16_t lower = 0x2;
inline constexpr std::uint16_t digit = 0x4;
inline constexpr std::uint16_t space = 0x8;
inline constexpr std::uint16_t punct = 0x10;
inline constexpr std::uint16_t control = 0x20;
inline constexpr std::uint16_t blank = 0x40;
inline constexpr std::uint16_t hex_digit = 0x80;
inline constexpr std::uint16_t alpha = 0x100;
inline constexpr std::uint16_t defined = 0x200;

// One entry for each of the 65536 units. Built by the first call, good until the library is unloaded; any thread. The
// first call asks the system once for each table, later ones return a pointer: loops keep it instead of asking again.
[[nodiscard]] const std::uint16_t* character_classes();

// The lower-case form of each unit, one unit for one, the unit itself where there is none. Independent of any locale.
[[nodiscard]] const char16_t* lower_case_map();

// True if `unit` has one of the properties in `mask` at least.
[[nodiscard]] inline bool is_class(char16_t unit, std::uint16_t mask) {
    return (character_classes()[unit] & mask) != 0;
}

[[nodiscard]] inline char16_t lower_unit(char16_t unit) { return lower_case_map()[unit]; }

} // namespace tackle::platform
