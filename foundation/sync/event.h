#pragma once

#include "platform/event.h"

#include <cstdint>

namespace tackle {

inline constexpr std::uint32_t infinite = platform::infinite;

// A flag to wait for, set until somebody resets it. Any thread, any operation. Whoever returns from a wait that found
// it set may destroy it.
class event final {
public:
    explicit event(bool signalled) : event_(signalled) {}

    // Throw tackle::exception with the platform's error number if the system refuses.
    void set();
    void reset();
    // Milliseconds; 0 asks only. False if the time is over.
    bool wait(std::uint32_t timeout_ms = infinite);

private:
    platform::event event_;
};

} // namespace tackle
