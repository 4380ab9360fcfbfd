#pragma once

#include "network/ip4.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

// Asks the server plainly, over a connection and without the library, all the time. Where even that takes longer than
// the library waits for an answer, the machine is too slow for the library's own limits, and a scan may lose all its
// attempts with nobody to blame.
class metronome {
public:
    using clock = std::chrono::steady_clock;

    // `patience` is what the library gives a server.
    metronome(const tackle::internet::address::ip4& server, std::chrono::milliseconds patience);
    // Whether a question was slow that was under way at any time since then.
    [[nodiscard]] bool was_slow_since(clock::time_point start) const;
    [[nodiscard]] std::int64_t slowest_ms() const { return slowest_ms_; }
    [[nodiscard]] std::uint64_t questions() const { return questions_; }
    [[nodiscard]] std::uint64_t slow_questions() const { return slow_; }

private:
    const clock::duration slow_from_; // the library's two ends of an exchange take some of its time
    void ask(const tackle::internet::address::ip4& server);

    std::atomic<clock::rep> last_slow_end_ = 0;
    std::atomic<clock::rep> asked_at_ = 0; // 0 between two questions
    std::atomic<std::int64_t> slowest_ms_ = 0;
    std::atomic<std::uint64_t> questions_ = 0;
    std::atomic<std::uint64_t> slow_ = 0;
    std::jthread thread_;
};
