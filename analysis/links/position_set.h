#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace brimwarden::analysis {

// A set of positions below a fixed size that knows its neighbours: a bit for each position, a bit for each 64 of these
// that are not all clear, and so on up to one word. Every operation touches one or two words of each level, of which
// there are three for a quarter of a million positions.
class position_set {
public:
    static constexpr std::size_t none = SIZE_MAX;
    static constexpr std::size_t word_bits = 64;

    // Empty, for positions below `size`.
    void reset(std::size_t size) {
        std::size_t words = size / 64 + 1;
        starts_[0] = 0;
        for (heights_ = 1;; ++heights_) {
            starts_[heights_] = starts_[heights_ - 1] + words;
            if (words == 1) break;
            words = (words + 63) / 64;
        }
        words_.assign(starts_[heights_], 0);
    }

    void insert(std::size_t position) {
        for (std::size_t height = 0; height < heights_; ++height) {
            auto& word = words_[starts_[height] + position / 64];
            const bool was_clear = word == 0;
            word |= bit(position);
            if (!was_clear) return;
            position /= 64;
        }
    }

    // Those of a word: bit i stands for `start` plus i, and `start` is a multiple of word_bits.
    void insert_word(std::size_t start, std::uint64_t positions) {
        if (positions == 0) return;
        insert(start + static_cast<unsigned>(std::countr_zero(positions)));
        words_[start / word_bits] |= positions;
    }

    void erase(std::size_t position) {
        for (std::size_t height = 0; height < heights_; ++height) {
            auto& word = words_[starts_[height] + position / 64];
            word &= ~bit(position);
            if (word != 0) return;
            position /= 64;
        }
    }

    [[nodiscard]] bool contains(std::size_t position) const { return (words_[position / 64] & bit(position)) != 0; }

    // The first position that is not before `from`.
    [[nodiscard]] std::size_t next(std::size_t from) const {
        for (std::size_t height = 0; height < heights_ && starts_[height] + from / 64 < starts_[height + 1]; ++height) {
            const auto word = words_[starts_[height] + from / 64] & (~std::uint64_t{0} << from % 64);
            if (word != 0) return lowest(height, from / 64 * 64 + static_cast<unsigned>(std::countr_zero(word)));
            from = from / 64 + 1;
        }
        return none;
    }

    // The last position before `end`.
    [[nodiscard]] std::size_t previous(std::size_t end) const {
        for (std::size_t height = 0; height < heights_; ++height) {
            const auto word =
                end % 64 == 0 ? 0 : words_[starts_[height] + end / 64] & (~std::uint64_t{0} >> (64 - end % 64));
            if (word != 0) return highest(height, end / 64 * 64 + 63 - static_cast<unsigned>(std::countl_zero(word)));
            end /= 64;
        }
        return none;
    }

private:
    static constexpr std::uint64_t bit(std::size_t position) { return std::uint64_t{1} << position % 64; }

    [[nodiscard]] std::size_t lowest(std::size_t height, std::size_t position) const {
        while (height-- > 0)
            position = position * 64 + static_cast<unsigned>(std::countr_zero(words_[starts_[height] + position]));
        return position;
    }
    [[nodiscard]] std::size_t highest(std::size_t height, std::size_t position) const {
        while (height-- > 0)
            position = position * 64 + 63 - static_cast<unsigned>(std::countl_zero(words_[starts_[height] + position]));
        return position;
    }

    static constexpr std::size_t most_heights = 11; // as many as 64 bits of a position need

    std::vector<std::uint64_t> words_; // level after level
    std::array<std::size_t, most_heights + 1> starts_{};
    std::size_t heights_ = 0;
};

} // namespace brimwarden::analysis
