#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace brimwarden::server::handler {

// The one clock of a server: ages, limits and how long nonces are remembered all come from here. Any thread. Normally
// the system's; a replay sets it, and then it stands still until it is set again, also to an earlier time.
class server_clock {
public:
    [[nodiscard]] std::int64_t now() const noexcept { // seconds since 1970
        const std::int64_t fixed = fixed_.load(std::memory_order_relaxed);
        if (fixed >= 0) return fixed;
        const auto since = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::seconds>(since).count();
    }
    void set(std::int64_t seconds) noexcept { fixed_ = seconds; } // below 0: the system's time again

private:
    std::atomic<std::int64_t> fixed_{-1};
};

} // namespace brimwarden::server::handler
