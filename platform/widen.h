#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tackle::platform {

inline constexpr std::size_t widened_at_once = 16;

// Makes sixteen bytes the units of the same values. By vector types, since a loop over the bytes stays one: as far as
// the compiler knows, each unit written may change a byte that is still to be read.
inline void widen_bytes(const char* from, char16_t* to) noexcept {
    using bytes = std::uint8_t __attribute__((vector_size(widened_at_once)));
    using units = std::uint16_t __attribute__((vector_size(2 * widened_at_once)));
    bytes narrow;
    std::memcpy(&narrow, from, sizeof narrow);
    const auto wide = __builtin_convertvector(narrow, units);
    std::memcpy(to, &wide, sizeof wide);
}

} // namespace tackle::platform
