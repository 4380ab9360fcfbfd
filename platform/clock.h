#pragma once

#include <cstdint>

namespace tackle::platform {

// A clock that only goes forward, for measuring spans; its zero means nothing. Any thread.
[[nodiscard]] std::int64_t clock_ticks() noexcept;
[[nodiscard]] std::int64_t clock_ticks_per_second() noexcept; // the same all through the life of the process

} // namespace tackle::platform
