#pragma once

#include "platform/clock.h"

#include <cstdint>
#include <vector>

namespace brimwarden::analysis::community {

// Measures spans in whole milliseconds, cut. Spans may nest: the newest start is the one that counts.
class stopwatch final {
public:
    explicit stopwatch(bool start_now) : ticks_per_ms_(tackle::platform::clock_ticks_per_second() / 1000) {
        if (start_now) lap_start();
    }

    void lap_start() { starts_.push_back(tackle::platform::clock_ticks()); }
    // Since the newest start, which is forgotten; 0 without one.
    [[nodiscard]] std::uint32_t lap_elapsed() {
        const std::uint32_t elapsed = elapsed_ms();
        if (!starts_.empty()) starts_.pop_back();
        return elapsed;
    }
    // The same, and the start stays.
    [[nodiscard]] std::uint32_t elapsed_ms() const {
        if (starts_.empty()) return 0;
        return static_cast<std::uint32_t>((tackle::platform::clock_ticks() - starts_.back()) / ticks_per_ms_);
    }

private:
    std::int64_t ticks_per_ms_;
    std::vector<std::int64_t> starts_;
};

} // namespace brimwarden::analysis::community
