#pragma once

#include <cstdint>
#include <span>

namespace brimwarden::language {

// Code units that stand for languages by themselves; both ends belong to the range.
struct script_range {
    char16_t first;
    char16_t last;
    std::uint16_t lcids[3]; // 0 where there are fewer
};

// All ranges, ascending and without overlap.
[[nodiscard]] std::span<const script_range> script_ranges();

} // namespace brimwarden::language
