#include "platform/clock.h"

#include <windows.h>

namespace tackle::platform {

std::int64_t clock_ticks() noexcept {
    LARGE_INTEGER ticks;
    QueryPerformanceCounter(&ticks);
    return ticks.QuadPart;
}

std::int64_t clock_ticks_per_second() noexcept {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

} // namespace tackle::platform
