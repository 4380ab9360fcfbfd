#include "html/text_set.h"

#include <algorithm>
#include <compare>
#include <numeric>
#include <tuple>

namespace tackle::html {

// The sum of its weighed units, so that the weight of a prefix and of what follows give that of both together. Only a
// first criterion to sort by: a collision costs a comparison.
struct text_set::weighed_entry {
    std::size_t length;
    std::uint64_t weight;
    std::size_t index; // in entries_
};

namespace {

constexpr std::uint64_t weight_base = 0x9E3779B97F4A7C15;

std::uint64_t weight_of(wstring_view text, std::uint64_t weight) {
    for (const auto unit : text)
        weight = weight * weight_base + unit + 1;
    return weight;
}

// Compares a prefix and its rest with another such pair, unit by unit.
std::strong_ordering compare_joined(wstring_view a, wstring_view a_rest, wstring_view b, wstring_view b_rest) {
    for (;;) {
        const auto common = std::min(a.size(), b.size());
        if (const auto order = a.substr(0, common) <=> b.substr(0, common); order != 0) return order;
        a.remove_prefix(common);
        b.remove_prefix(common);
        if (a.empty()) std::swap(a, a_rest);
        if (b.empty()) std::swap(b, b_rest);
        if (a.empty() || b.empty()) return a.size() <=> b.size();
    }
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
std::vector<text_set::weighed_entry> text_set::different_entries() const {
    std::vector<std::uint64_t> prefix_weights;
    for (const auto& prefix : prefixes_)
        prefix_weights.push_back(weight_of(rest_of(prefix), 0));
    std::vector<weighed_entry> weighed;
    weighed.reserve(entries_.size());
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const auto& one = entries_[i];
        const auto start = one.prefix == no_prefix ? 0 : prefix_weights[one.prefix];
        weighed.push_back({prefix_of(one).size() + one.length, weight_of(rest_of(one), start), i});
    }
    const auto compare = [this](const weighed_entry& a, const weighed_entry& b) {
        if (const auto order = std::tie(a.length, a.weight) <=> std::tie(b.length, b.weight); order != 0) return order;
        const auto& left = entries_[a.index];
        const auto& right = entries_[b.index];
        return compare_joined(prefix_of(left), rest_of(left), prefix_of(right), rest_of(right));
    };
    std::ranges::sort(weighed, [&](const weighed_entry& a, const weighed_entry& b) {
        const auto order = compare(a, b);
        return order != 0 ? order < 0 : a.index < b.index;
    });
    weighed.erase(std::unique(weighed.begin(), weighed.end(),
                              [&](const weighed_entry& a, const weighed_entry& b) { return compare(a, b) == 0; }),
                  weighed.end());
    std::ranges::sort(weighed, {}, &weighed_entry::index);
    return weighed;
}

void text_set::join_prefixed() const {
    const auto different = different_entries();
    std::size_t units = 0;
    const auto fits = [&](const weighed_entry& one) { return one.length <= limit_ - units; };
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
