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

text_set::entry text_set::append(wstring_view text, std::uint32_t prefix) {
    const entry made{static_cast<std::uint32_t>(units_.size()), static_cast<std::uint32_t>(text.size()), prefix, false};
    units_.insert(units_.end(), text.begin(), text.end());
    return made;
}

void text_set::insert(wstring_view text) { enter(text, no_prefix, false); }

void text_set::set_prefix(wstring_view prefix) {
    prefix_is_new_ = true;
    if (!prefixes_.empty() && rest_of(prefixes_.back()) == prefix) return;
    prefixes_.push_back(append(prefix, no_prefix));
}

void text_set::insert_prefixed(wstring_view rest) {
    enter(rest, static_cast<std::uint32_t>(prefixes_.size()) - 1, prefix_is_new_); // no_prefix if there is none
    prefix_is_new_ = false;
}

void text_set::limit_prefixed(std::size_t units) {
    limit_ = units;
    is_sorted_ = false;
}

// A message has a few names over and over again: those that came last are found without any search.
void text_set::enter(wstring_view text, std::uint32_t prefix, bool is_first) {
    if (recent_.empty()) recent_.resize(recent_slots);
    auto slot = text.size();
    if (!text.empty()) slot = text.size() * 31 + text.front() * 7U + text.back();
    auto& recent = recent_[slot % recent_slots];
    if (recent != 0) {
        const auto& known = entries_[recent - 1];
        if (known.prefix == prefix && known.is_first >= is_first && rest_of(known) == text) return;
    }
    entries_.push_back(append(text, prefix));
    entries_.back().is_first = is_first;
    recent = entries_.size();
    is_sorted_ = false;
}

bool text_set::contains(wstring_view text) const { return std::ranges::binary_search(sorted(), text); }

struct text_set::different_entry {
    fingerprint mark;
    std::uint32_t length; // with its prefix
    std::uint32_t index;  // in entries_
    bool is_first;
};

// One entry for each text, the first, in the order of insertion. Two prefixes may well give the same text, which counts
// once against the limit; that has to be found without writing all of them out.
std::vector<text_set::different_entry> text_set::different_entries() const {
    std::vector<fingerprint> prefix_marks;
    prefix_marks.reserve(prefixes_.size());
    for (const auto& prefix : prefixes_)
        prefix_marks.push_back(fingerprint_of(rest_of(prefix)));
    std::vector<different_entry> entries;
    entries.reserve(entries_.size());
    for (std::uint32_t i = 0; i < entries_.size(); ++i) {
        const auto& one = entries_[i];
        const auto start = one.prefix == no_prefix ? fingerprint() : prefix_marks[one.prefix];
        const auto length = static_cast<std::uint32_t>(prefix_of(one).size()) + one.length;
        entries.push_back({fingerprint_of(rest_of(one), start), length, i, one.is_first});
    }
    std::ranges::sort(entries, {}, [](const auto& one) { return std::tie(one.length, one.mark, one.index); });
    std::size_t kept = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        auto& last = entries[kept == 0 ? 0 : kept - 1];
        if (kept != 0 && last.length == entries[i].length && last.mark == entries[i].mark)
            last.is_first = last.is_first || entries[i].is_first;
        else
            entries[kept++] = entries[i];
    }
    entries.resize(kept);
    std::ranges::sort(entries, {}, &different_entry::index);
    return entries;
}

// Applies the limit.
void text_set::leave_out(std::vector<different_entry>& entries) const {
    std::size_t units = 0;
    bool full = false;
    std::erase_if(entries, [&](const different_entry& one) {
        const bool has_prefix = entries_[one.index].prefix != no_prefix;
        const bool fits = one.length <= limit_ - units;
        full = full || (has_prefix && !fits);
        if (full && has_prefix && !one.is_first) return true;
        units = fits ? units + one.length : limit_;
        return false;
    });
}

struct text_set::joined_text {
    wstring_view text;
    std::uint32_t prefix;
    std::uint32_t prefix_length;
    [[nodiscard]] wstring_view rest() const { return text.substr(prefix_length); }
};

// The texts of each prefix are sorted by what follows it, and then the prefixes merged: a sort of all the texts would
// read a long prefix again in each of its comparisons.
void text_set::join_prefixed() const {
    auto entries = different_entries();
    leave_out(entries);
    std::ranges::sort(entries, {}, [this](const different_entry& one) { return entries_[one.index].prefix; });
    std::size_t units = 0;
    for (const auto& one : entries) {
        if (entries_[one.index].prefix != no_prefix) units += one.length;
    }
    joined_.clear();
    joined_.reserve(units); // nothing moves from here on
    std::vector<joined_text> texts;
    texts.reserve(entries.size());
    std::vector<std::size_t> runs; // where the texts of a prefix begin
    for (const auto& different : entries) {
        const auto& one = entries_[different.index];
        if (texts.empty() || texts.back().prefix != one.prefix) runs.push_back(texts.size());
        const auto prefix = prefix_of(one);
        const auto start = joined_.size();
        if (one.prefix != no_prefix) joined_.append(prefix).append(rest_of(one));
        const auto text = one.prefix == no_prefix ? rest_of(one) : wstring_view(joined_).substr(start);
        texts.push_back({text, one.prefix, static_cast<std::uint32_t>(prefix.size())});
    }
    runs.push_back(texts.size());
    const auto at = [&texts](std::size_t index) { return texts.begin() + static_cast<std::ptrdiff_t>(index); };
    for (std::size_t i = 0; i + 1 < runs.size(); ++i)
        std::ranges::sort(at(runs[i]), at(runs[i + 1]), {}, &joined_text::rest);
    while (runs.size() > 2) {
        std::vector<std::size_t> merged;
        for (std::size_t i = 0; i < runs.size(); i += 2) {
            merged.push_back(runs[i]);
            if (i + 2 < runs.size())
                std::ranges::inplace_merge(at(runs[i]), at(runs[i + 1]), at(runs[i + 2]), {}, &joined_text::text);
        }
        if (merged.back() != texts.size()) merged.push_back(texts.size());
        runs = std::move(merged);
    }
    sorted_.reserve(texts.size());
    for (const auto& one : texts)
        sorted_.push_back(one.text);
}

const std::vector<wstring_view>& text_set::sorted() const {
    if (is_sorted_) return sorted_;
    sorted_.clear();
    if (prefixes_.empty()) {
        sorted_.reserve(entries_.size());
        for (const auto& one : entries_)
            sorted_.push_back(rest_of(one));
        std::ranges::sort(sorted_);
        sorted_.erase(std::unique(sorted_.begin(), sorted_.end()), sorted_.end());
    } else {
        join_prefixed();
    }
    is_sorted_ = true;
    return sorted_;
}

} // namespace tackle::html
