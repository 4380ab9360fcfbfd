#pragma once

#include <cstdint>

// Where programs run slowly the library's own limits get too short: it waits for a server's best time and 100 ms. So
// there the servers of tests stand far away.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#else
inline constexpr bool sanitized = false;
#endif
#ifdef _WIN32
inline constexpr bool emulated = true; // most likely
#else
inline constexpr bool emulated = false;
#endif
inline constexpr std::uint32_t distance_ms = sanitized || emulated ? 150 : 0;
