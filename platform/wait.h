#pragma once

#include <cstdint>

namespace tackle::platform {

// Timeouts are in milliseconds. 0 asks and does not wait, this one never ends.
inline constexpr std::uint32_t infinite = 0xFFFFFFFF;

enum class wait_result {
    signalled, // the thing waited for is so, or is now the caller's
    timed_out,
    failed, // last_error says why
};

} // namespace tackle::platform
