#pragma once

#include "community/client/stopwatch.h"

#include <algorithm>
#include <cstdint>

namespace brimwarden::analysis::community {

// The time that a caller gives to one operation, from the construction of this object on. 0 is no limit.
class time_limit final {
public:
    explicit time_limit(std::uint32_t timeout_ms) : timeout_ms_(timeout_ms), watch_(true) {}

    [[nodiscard]] bool passed() const { return timeout_ms_ != 0 && watch_.elapsed_ms() > timeout_ms_; }

    // How long an attempt may take once its connection is established: what is left, and never less than the server's
    // own `wait_ms`. Without a limit it is 30 s, since a peer that answers byte by byte would hold its caller, and with
    // the caller everybody who waits for the community to be free, for as long as it likes.
    [[nodiscard]] std::uint32_t left_for_connection(std::uint32_t wait_ms) const {
        constexpr std::uint32_t unlimited_ms = 30'000;
        if (timeout_ms_ == 0) return std::max(unlimited_ms, wait_ms);
        return std::max(timeout_ms_ - std::min(watch_.elapsed_ms(), timeout_ms_), wait_ms);
    }

private:
    std::uint32_t timeout_ms_;
    stopwatch watch_;
};

} // namespace brimwarden::analysis::community
