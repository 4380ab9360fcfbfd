#pragma once

#include <cstdint>

namespace tackle::html {

// What a 16-bit unit means to a reader of HTML, one bit for each property.
inline constexpr std::uint8_t white_unit = 1; // white space or a blank by the platform's classes
inline constexpr std::uint8_t name_unit = 2;  // may stand in the name of an entity: a letter, a digit or "#"

// One entry for each of the 65536 units. Built by the first call, good until the library is unloaded; any thread.
[[nodiscard]] const std::uint8_t* unit_classes();

} // namespace tackle::html
