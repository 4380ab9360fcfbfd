#include "html/text_set.h"

#include "platform/random.h"

#include <algorithm>
#include <compare>
#include <numeric>
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

bool text_set::contains(wstring_view text) const {
    const auto of = [this](std::uint32_t index) { return text_of(index); };
    sort();
    return std::ranges::binary_search(order_, text, {}, of);
}

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

// The entries that the limit leaves, prefix by prefix.
text_set::index_list text_set::kept_entries() const {
    index_list kept;
    std::size_t units = 0;
    bool full = false;
    for (const auto& one : different_entries()) {
        const bool has_prefix = entries_[one.index].prefix != no_prefix;
        const bool fits = one.length <= limit_ - units;
        full = full || (has_prefix && !fits);
        if (full && has_prefix && !one.is_first) continue;
        units = fits ? units + one.length : limit_;
        kept.push_back(one.index);
    }
    std::ranges::sort(kept, {}, [this](std::uint32_t index) { return entries_[index].prefix; });
    return kept;
}

wstring_view text_set::text_of(std::uint32_t index) const {
    const auto& one = entries_[index];
    if (one.prefix == no_prefix) return rest_of(one);
    return read_.assign(prefix_of(one)).append(rest_of(one));
}

bool text_set::is_less(std::uint32_t a, std::uint32_t b) const {
    wstring_view left[] = {prefix_of(entries_[a]), rest_of(entries_[a])};
    wstring_view right[] = {prefix_of(entries_[b]), rest_of(entries_[b])};
    const bool left_is_short = left[0].size() < right[0].size();
    auto& shorter = left_is_short ? left : right;
    auto& longer = left_is_short ? right : left;
    // Three stretches: the shorter prefix, what the longer one has behind that, and the rest of both.
    const auto first = shorter[0].size();
    const auto second = std::min(longer[0].size() - first, shorter[1].size());
    auto result = shorter[0].compare(longer[0].substr(0, first));
    if (result == 0) result = shorter[1].substr(0, second).compare(longer[0].substr(first));
    if (result == 0) result = shorter[1].substr(second).compare(longer[1]);
    return left_is_short ? result < 0 : result > 0;
}

// The texts of each prefix are sorted by what follows it, and then the prefixes merged: a sort of all the texts would
// read a long prefix again in each of its comparisons.
void text_set::sort_prefixed() const {
    order_ = kept_entries();
    std::vector<index_list::iterator> runs; // where the texts of a prefix begin
    for (auto at = order_.begin(); at != order_.end(); ++at) {
        if (at == order_.begin() || entries_[*at].prefix != entries_[at[-1]].prefix) runs.push_back(at);
    }
    runs.push_back(order_.end());
    const auto rest = [this](std::uint32_t index) { return rest_of(entries_[index]); };
    for (std::size_t i = 0; i + 1 < runs.size(); ++i)
        std::ranges::sort(runs[i], runs[i + 1], {}, rest);
    const auto less = [this](std::uint32_t a, std::uint32_t b) { return is_less(a, b); };
    while (runs.size() > 2) {
        std::vector<index_list::iterator> merged;
        for (std::size_t i = 0; i + 1 < runs.size(); i += 2) {
            merged.push_back(runs[i]);
            if (i + 2 < runs.size()) std::inplace_merge(runs[i], runs[i + 1], runs[i + 2], less);
        }
        merged.push_back(order_.end());
        runs = std::move(merged);
    }
}

void text_set::sort() const {
    if (is_sorted_) return;
    if (prefixes_.empty()) {
        order_.resize(entries_.size());
        std::iota(order_.begin(), order_.end(), 0U);
        const auto text = [this](std::uint32_t index) { return rest_of(entries_[index]); };
        std::ranges::sort(order_, {}, text);
        const auto same = [&](std::uint32_t a, std::uint32_t b) { return text(a) == text(b); };
        order_.erase(std::unique(order_.begin(), order_.end(), same), order_.end());
    } else {
        sort_prefixed();
    }
    is_sorted_ = true;
}

} // namespace tackle::html
