#include "analysis/words/folded_token_list.h"

#include "platform/random.h"

#include <algorithm>
#include <array>
#include <bit>
#include <span>

namespace brimwarden::analysis {

using tackle::wstring_view;

namespace {

constexpr std::size_t unit_count = 0x10000;
constexpr std::size_t first_slots = 512; // enough for the words of most messages

// The letter that a unit of ASCII stands for among spammers, as a bit in the one set or the other.
struct letter_bit {
    std::uint64_t low;
    std::uint64_t high;
};

constexpr letter_bit bit_of(std::size_t letter) {
    return letter < 64 ? letter_bit{std::uint64_t{1} << letter, 0} : letter_bit{0, std::uint64_t{1} << (letter - 64)};
}

constexpr std::array<letter_bit, 0x80> ascii_letters = [] {
    std::array<letter_bit, 0x80> table{};
    for (std::size_t unit = 0; unit < table.size(); ++unit)
        table[unit] = bit_of(unit);
    table['|'] = table['l'] = table['1'] = bit_of('i');
    table['$'] = bit_of('s');
    table['3'] = bit_of('e');
    table['0'] = bit_of('o');
    table['4'] = bit_of('a');
    table['7'] = bit_of('t');
    table['8'] = bit_of('b');
    return table;
}();

// Different in each process: with a hash that is known beforehand, a text could be made of words that all fall into one
// place of the table. No result depends on it.
struct hash_key {
    std::uint64_t low;
    std::uint64_t high;
};

const hash_key& key() {
    static const hash_key made = [] {
        hash_key random{};
        if (!tackle::platform::fill_random(std::as_writable_bytes(std::span(&random, 1))))
            random = {0x9E3779B97F4A7C15, 0xC2B2AE3D27D4EB4F}; // still right, and as fast for honest text
        return hash_key{random.low | 1, random.high | 1};
    }();
    return made;
}

// Both halves of the 128-bit product, folded: every bit of the factors reaches every bit of the result.
std::uint64_t mix(std::uint64_t a, std::uint64_t b) {
    __extension__ using wide = unsigned __int128;
    const auto product = static_cast<wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

char16_t* write_set(std::uint64_t set, char16_t first, char16_t* to) {
    for (; set != 0; set &= set - 1)
        *to++ = static_cast<char16_t>(first + std::countr_zero(set));
    return to;
}

} // namespace

void folded_token_list::reserve(std::size_t tokens) {
    tokens_.reserve(tokens);
    words_.reserve(std::min(tokens, first_slots / 2)); // a long text repeats itself: more is room for nothing, mostly
}

void folded_token_list::append(wstring_view token) {
    letter_bit sets{0, 0};
    others_.clear();
    for (const char16_t unit : token) {
        if (unit < ascii_letters.size()) {
            sets.low |= ascii_letters[unit].low;
            sets.high |= ascii_letters[unit].high;
        } else if (unit == u'\u20AC') { // the euro sign, for an e
            sets.high |= bit_of('e').high;
        } else {
            others_ += unit;
        }
    }
    if (others_.size() > 1) sort_others();
    tokens_.push_back(number_of(sets.low, sets.high));
}

void folded_token_list::append_letters(std::size_t index, tackle::wstring& out) const {
    const auto& set = words_[tokens_[index]];
    char16_t letters[ascii_letters.size()];
    const char16_t* const end = write_set(set.high, u'@', write_set(set.low, u'\0', letters));
    out.append(letters, static_cast<std::size_t>(end - letters));
    out.append(letters_, set.begin, set.others);
}

void folded_token_list::clear() {
    letters_.clear();
    words_.clear();
    tokens_.clear();
    std::ranges::fill(slots_, 0);
}

// In ascending order, each once. A token may be the whole text: many letters go through a bit set of all units.
void folded_token_list::sort_others() {
    constexpr std::size_t few = 64;
    if (others_.size() <= few) {
        std::ranges::sort(others_);
        others_.erase(std::unique(others_.begin(), others_.end()), others_.end());
        return;
    }
    other_set_.resize(unit_count / 64);
    for (const char16_t unit : others_)
        other_set_[unit / 64] |= std::uint64_t{1} << (unit % 64);
    others_.clear();
    for (std::size_t at = 0; at < other_set_.size(); ++at) {
        for (auto set = other_set_[at]; set != 0; set &= set - 1)
            others_.push_back(static_cast<char16_t>(at * 64 + static_cast<std::size_t>(std::countr_zero(set))));
        other_set_[at] = 0;
    }
}

// The number of the set of letters that these bits and others_ make.
std::uint32_t folded_token_list::number_of(std::uint64_t low, std::uint64_t high) {
    const auto [low_key, high_key] = key();
    auto mixed = mix(low ^ low_key, high ^ high_key);
    for (const char16_t unit : others_)
        mixed = mix(mixed ^ unit, low_key);
    const auto hash = static_cast<std::uint32_t>(mixed);

    if (words_.size() * 2 >= slots_.size()) grow();
    const auto mask = slots_.size() - 1;
    auto slot = hash & mask;
    for (; slots_[slot] != 0; slot = (slot + 1) & mask) {
        const auto& known = words_[slots_[slot] - 1];
        if (known.low != low || known.high != high || known.others != others_.size()) continue;
        if (known.others == 0 || letters_.compare(known.begin, known.others, others_) == 0) return slots_[slot] - 1;
    }

    // Few words have digits or signs; and without an instruction for it, to count bits is a call.
    const auto low_count = low == 0 ? 0 : std::popcount(low);
    const auto length = static_cast<std::size_t>(low_count + std::popcount(high)) + others_.size();
    words_.push_back({low, high, hash, static_cast<std::uint32_t>(length), static_cast<std::uint32_t>(letters_.size()),
                      static_cast<std::uint32_t>(others_.size())});
    if (!others_.empty()) letters_ += others_;
    slots_[slot] = static_cast<std::uint32_t>(words_.size());
    return slots_[slot] - 1;
}

void folded_token_list::grow() {
    slots_.assign(std::max<std::size_t>(slots_.size() * 2, first_slots), 0);
    const auto mask = slots_.size() - 1;
    for (std::uint32_t number = 0; number < words_.size(); ++number) {
        auto slot = words_[number].hash & mask;
        while (slots_[slot] != 0)
            slot = (slot + 1) & mask;
        slots_[slot] = number + 1;
    }
}

} // namespace brimwarden::analysis
