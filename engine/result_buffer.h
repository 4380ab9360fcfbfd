#pragma once

#include <algorithm>

#include "foundation/text/text.h"
#include "include/brmx.h"

namespace brimwarden::engine {

// A result of variable length on its way to a caller's buffer, which may be null.
[[nodiscard]] inline bool fits(tackle::wstring_view result, const brmx_char* buffer, std::uint32_t size) noexcept {
    return buffer != nullptr && result.size() <= size;
}

// Writes the exact length, which cannot be above 32 bits, and no terminator; the buffer if there is one.
inline void hand_out(tackle::wstring_view result, brmx_char* buffer, std::uint32_t& length) noexcept {
    if (buffer != nullptr) std::ranges::copy(result, buffer);
    length = static_cast<std::uint32_t>(result.size());
}

} // namespace brimwarden::engine
