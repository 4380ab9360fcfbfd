#include "html/text_set.h"

#include "platform/random.h"

#include <algorithm>
#include <compare>
#include <span>
#include <tuple>

namespace tackle::html {

namespace {

// What stands for a text in comparisons, and can be continued behind a prefix. Comparing the units themselves would
// read a long prefix again for each text behind it.
struct fingerprint {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    auto operator<=>(const fingerprint&) const = default;
};

constexpr std::uint64_t modulus = (std::uint64_t{1} << 61) - 1; // a prime, so that no texts collide under every key

// Different in each process. Two texts of a million units share a fingerprint with a chance of one in 10^24, and nobody
// can prepare them; what would follow is one link too few in a set that is too large anyway.
const fingerprint& key() {
    static const fingerprint made = [] {
        fingerprint random;
        if (!platform::fill_random(std::as_writable_bytes(std::span(&random, 1))))
            random = {0x9E3779B97F4A7C15, 0xC2B2AE3D27D4EB4F};
        return fingerprint{random.first % modulus, random.second % modulus};
    }();
    return made;
}

std::uint64_t multiply_and_add(std::uint64_t a, std::uint64_t b, std::uint64_t c) {
    __extension__ using wide = unsigned __int128;
    const auto product = static_cast<wide>(a) * b + c;
    const auto folded = static_cast<std::uint64_t>(product & modulus) + static_cast<std::uint64_t>(product >> 61);
    return folded >= modulus ? folded - modulus : folded;
}

// Of what `start` stands for and `text` behind it.
fingerprint fingerprint_of(wstring_view text, fingerprint start = {}) {
    const auto [first, second] = key();
    for (const auto unit : text)
        start = {multiply_and_add(start.first, first, unit + 1U), multiply_and_add(start.second, second, unit + 1U)};
    return start;
}

} // namespace

wstring_view text_set::prefix_of(const entry& of) const {
    return of.prefix == no_prefix ? wstring_view() : rest_of(prefixes_[of.prefix]);
}

text_set::entry text_set::append(wstring_view text, std::size_t prefix) {
    const entry made{units_.size(), text.size(), prefix};
    units_.insert(units_.end(), text.begin(), text.end());
    return made;
}

void text_set::insert(wstring_view text) { enter(text, no_prefix); }

void text_set::set_prefix(wstring_view prefix) {
    if (!prefixes_.empty() && rest_of(prefixes_.back()) == prefix) return;
    prefixes_.push_back(append(prefix, no_prefix));
}

void text_set::insert_prefixed(wstring_view rest) { enter(rest, prefixes_.empty() ? no_prefix : prefixes_.size() - 1); }

void text_set::limit_prefixed(std::size_t units) {
    limit_ = units;
    is_sorted_ = false;
}

// A message has a few names over and over again: those that came last are found without any search.
void text_set::enter(wstring_view text, std::size_t prefix) {
    if (recent_.empty()) recent_.resize(recent_slots);
    auto slot = text.size();
    if (!text.empty()) slot = text.size() * 31 + text.front() * 7U + text.back();
    auto& recent = recent_[slot % recent_slots];
    if (recent != 0) {
        const auto& known = entries_[recent - 1];
        if (known.prefix == prefix && rest_of(known) == text) return;
    }
    entries_.push_back(append(text, prefix));
    recent = entries_.size();
    is_sorted_ = false;
}

bool text_set::contains(wstring_view text) const { return std::ranges::binary_search(sorted(), text); }

// One entry for each text, the first, in the order of insertion. Two prefixes may well give the same text, which counts
// once against the limit; that has to be found without writing all of them out.
std::vector<text_set::measured_entry> text_set::different_entries() const {
    struct known_text {
        std::size_t length;
        fingerprint mark;
        std::size_t index; // in entries_
    };
    std::vector<fingerprint> prefix_marks;
    prefix_marks.reserve(prefixes_.size());
    for (const auto& prefix : prefixes_)
        prefix_marks.push_back(fingerprint_of(rest_of(prefix)));
    std::vector<known_text> known;
    known.reserve(entries_.size());
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const auto& one = entries_[i];
        const auto start = one.prefix == no_prefix ? fingerprint() : prefix_marks[one.prefix];
        known.push_back({prefix_of(one).size() + one.length, fingerprint_of(rest_of(one), start), i});
    }
    const auto text = [](const known_text& one) { return std::tie(one.length, one.mark); };
    std::ranges::sort(known, {}, [](const known_text& one) { return std::tie(one.length, one.mark, one.index); });
    // Not the ranges form, whose result clang 14 cannot take apart.
    const auto same = [&](const known_text& a, const known_text& b) { return text(a) == text(b); };
    known.erase(std::unique(known.begin(), known.end(), same), known.end());
    std::ranges::sort(known, {}, &known_text::index);
    std::vector<measured_entry> different;
    different.reserve(known.size());
    for (const auto& one : known)
        different.push_back({one.length, one.index});
    return different;
}

void text_set::join_prefixed() const {
    const auto different = different_entries();
    std::size_t units = 0;
    const auto fits = [&](const measured_entry& one) { return one.length <= limit_ - units; };
    std::vector<std::pair<std::size_t, std::size_t>> joined; // start and length
    joined_.clear();
    bool full = false;
    for (const auto& one : different) {
        const auto& text = entries_[one.index];
        if (text.prefix == no_prefix) {
            sorted_.push_back(rest_of(text));
            units += std::min(one.length, limit_ - units);
            continue;
        }
        full = full || !fits(one);
        if (full) continue;
        units += one.length;
        joined.emplace_back(joined_.size(), one.length);
        const auto prefix = prefix_of(text);
        joined_.insert(joined_.end(), prefix.begin(), prefix.end());
        joined_.insert(joined_.end(), units_.data() + text.start, units_.data() + text.start + text.length);
    }
    for (const auto& [start, length] : joined)
        sorted_.emplace_back(joined_.data() + start, length);
}

const std::vector<wstring_view>& text_set::sorted() const {
    if (is_sorted_) return sorted_;
    sorted_.clear();
    if (prefixes_.empty()) {
        sorted_.reserve(entries_.size());
        for (const auto& one : entries_)
            sorted_.push_back(rest_of(one));
    } else {
        join_prefixed();
    }
    std::ranges::sort(sorted_);
    sorted_.erase(std::unique(sorted_.begin(), sorted_.end()), sorted_.end());
    is_sorted_ = true;
    return sorted_;
}

} // namespace tackle::html
