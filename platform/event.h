#pragma once

#include "platform/wait.h"

#include <cstdint>
#include <memory>

namespace tackle::platform {

// A flag that threads can wait for: it lets everybody through from set() until reset(). Any thread, any operation.
// Whoever returns from wait() with `signalled` may destroy the event: no set() is inside it any more by then.
class event final {
public:
    explicit event(bool signalled);
    ~event();
    event(const event&) = delete;
    event& operator=(const event&) = delete;

    // False if the system refused; last_error says why.
    [[nodiscard]] bool set() noexcept;
    [[nodiscard]] bool reset() noexcept;
    [[nodiscard]] wait_result wait(std::uint32_t timeout_ms) noexcept;

private:
    struct state;
    std::unique_ptr<state> state_;
};

} // namespace tackle::platform
