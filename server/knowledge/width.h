#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace brimwarden::server::knowledge {

// An estimate of how many distinct mailboxes were seen, in 16 bytes: linear counting, one bit for each value of seven
// hash bits. Within one or two of the truth up to 30, and saturated at 621: nothing needs to know more than "many".
class width {
public:
    // `hash` has to be uniform and unknown to those who are counted.
    void add(std::uint64_t hash) noexcept { words_[hash >> 63] |= std::uint64_t{1} << (hash & 63); }
    [[nodiscard]] std::uint32_t estimate() const noexcept {
        constexpr double bits = 128;
        const int empty = 128 - std::popcount(words_[0]) - std::popcount(words_[1]);
        if (empty == 0) return 621;
        return static_cast<std::uint32_t>(std::lround(-bits * std::log(empty / bits)));
    }
    [[nodiscard]] std::uint64_t word(unsigned which) const noexcept { return words_[which]; }
    void restore(std::uint64_t first, std::uint64_t second) noexcept {
        words_[0] = first;
        words_[1] = second;
    }

private:
    std::uint64_t words_[2] = {0, 0};
};

} // namespace brimwarden::server::knowledge
