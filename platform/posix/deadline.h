#pragma once

#include <cstdint>
#include <ctime>

namespace tackle::platform {

// The moment `timeout_ms` from now on `clock`: the monotonic one where there is a choice, as nobody can set it.
inline timespec deadline(clockid_t clock, std::uint32_t timeout_ms) noexcept {
    constexpr long second_ns = 1'000'000'000;
    timespec moment{};
    clock_gettime(clock, &moment);
    moment.tv_sec += static_cast<time_t>(timeout_ms / 1000);
    moment.tv_nsec += static_cast<long>(timeout_ms % 1000) * 1'000'000;
    if (moment.tv_nsec >= second_ns) {
        moment.tv_nsec -= second_ns;
        ++moment.tv_sec;
    }
    return moment;
}

} // namespace tackle::platform
