#include "platform/clock.h"

#include <ctime>

namespace tackle::platform {

std::int64_t clock_ticks() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

std::int64_t clock_ticks_per_second() noexcept { return 1'000'000'000; }

} // namespace tackle::platform
