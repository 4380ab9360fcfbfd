#pragma once

#include "tools/brmx_scan/output.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace brmx_scan {

// Counts what came out of many messages.
class summary {
public:
    void add(const report& made, bool failed);

    [[nodiscard]] std::size_t messages() const noexcept { return messages_; }
    [[nodiscard]] bool has_above(int limit) const noexcept { return highest_ > limit; }

    // Complete lines: the numbers, and a histogram of the probabilities if there are any. Whatever the counts, the
    // longest bar has one length.
    [[nodiscard]] std::string text(double seconds, const look& chosen) const;

private:
    // 0, nine steps of ten (the first without the 0), 90 to 99, 100.
    std::array<std::size_t, 12> counts_{};
    std::size_t messages_ = 0;
    std::size_t failed_ = 0;
    std::uint64_t bytes_ = 0;
    int highest_ = -1;
};

} // namespace brmx_scan
