#pragma once

#include "platform/wait.h"

#include <cstdint>
#include <memory>

namespace tackle::platform {

// A mutex that can be waited for with a time limit, recursive for the thread that holds it. A thread that ends while it
// holds one leaves it abandoned: the next to wait gets it like a free one.
class timed_mutex final {
public:
    timed_mutex();
    ~timed_mutex();
    timed_mutex(const timed_mutex&) = delete;
    timed_mutex& operator=(const timed_mutex&) = delete;

    // False if the constructor got nothing from the system; last_error says why, directly behind the construction.
    [[nodiscard]] bool valid() const noexcept;
    [[nodiscard]] wait_result enter(std::uint32_t timeout_ms) noexcept;
    // False if the calling thread does not hold it; last_error says so.
    [[nodiscard]] bool leave() noexcept;

private:
    struct state;
    std::unique_ptr<state> state_;
};

} // namespace tackle::platform
