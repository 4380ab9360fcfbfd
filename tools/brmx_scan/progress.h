#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace brmx_scan {

// A line on standard error that is rewritten in place, for a person who waits: a bar, the rate and the time left, by
// the share of the bytes. Nothing is shown for work of less than a second.
class progress {
public:
    // total_bytes   of all messages, 0 if that is not known: then there is no bar and no time left
    progress(std::uint64_t total_bytes, bool wanted) : total_(total_bytes), wanted_(wanted) {}

    // A message is done.
    void step(std::uint64_t bytes);

    // Makes room for other lines; the next step may show the bar again.
    void clear();

private:
    using clock = std::chrono::steady_clock;
    const std::uint64_t total_;
    const bool wanted_;
    const clock::time_point start_ = clock::now();
    clock::time_point next_ = start_ + std::chrono::seconds(1);
    std::size_t messages_ = 0;
    std::uint64_t bytes_ = 0;
    bool visible_ = false;
};

} // namespace brmx_scan
