#pragma once

#include <cstdint>
#include <span>

// What code pages have beyond the converters of ICU. The tables are generated; make_page_tables.py tells from what.
namespace tackle::platform {

// Consecutive codes that stand for consecutive units. A code is a byte, or lead << 8 | trail.
struct code_run {
    std::uint16_t code_page;
    std::uint16_t code;
    char16_t unit; // 0xFFFD: none of the codes means anything
    std::uint16_t count;
};

// Consecutive units that are written as consecutive codes, though reading does not give them back.
struct unit_run {
    std::uint16_t code_page;
    char16_t unit;
    std::uint16_t code; // 0: all of the units become the default character
    std::uint16_t count;
};

// Consecutive units that some code pages write as consecutive others, which each of these pages has: "e" for e acute.
struct look_alike {
    char16_t unit;
    char16_t like;
    std::uint8_t count;
    std::uint8_t pages; // index of a set of pages
};

// Both are empty for most pages.
[[nodiscard]] std::span<const code_run> find_code_runs(std::uint32_t code_page);
[[nodiscard]] std::span<const unit_run> find_unit_runs(std::uint32_t code_page);

[[nodiscard]] std::span<const look_alike> look_alikes();
// Whether the set of that index has the code page.
[[nodiscard]] bool has_look_alikes(std::uint8_t pages, std::uint32_t code_page);

} // namespace tackle::platform
