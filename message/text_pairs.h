#pragma once

#include "foundation/text/text.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace tackle::internet::message2 {

// An ordered list of pairs of texts, given out as `record`s of two views. The texts stand one behind the other in two
// strings, eight bytes of bookkeeping a pair: parameters and addresses are the sender's to multiply, and a million of
// them must not cost many times the bytes they came from.
//
// Views and iterators are good until the list is changed or moved. All texts together may have 4 GB; throws
// std::length_error beyond that.
template <typename record, typename first_char, typename second_char>
class text_pairs {
public:
    using first_view = std::basic_string_view<first_char>;
    using second_view = std::basic_string_view<second_char>;

    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = record;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = record;

        iterator() = default;
        iterator(const text_pairs* list, std::size_t index) : list_(list), index_(index) {}
        record operator*() const { return (*list_)[index_]; }
        iterator& operator++() {
            ++index_;
            return *this;
        }
        iterator operator++(int) {
            const iterator before = *this;
            ++index_;
            return before;
        }
        bool operator==(const iterator& other) const { return index_ == other.index_; }

    private:
        const text_pairs* list_ = nullptr;
        std::size_t index_ = 0;
    };

    [[nodiscard]] std::size_t size() const noexcept { return ends_.size(); }
    [[nodiscard]] bool empty() const noexcept { return ends_.empty(); }
    [[nodiscard]] iterator begin() const { return {this, 0}; }
    [[nodiscard]] iterator end() const { return {this, size()}; }
    [[nodiscard]] record operator[](std::size_t index) const {
        const pair_end from = index == 0 ? pair_end{} : ends_[index - 1];
        const pair_end to = ends_[index];
        return {first_view(firsts_).substr(from.first, to.first - from.first),
                second_view(seconds_).substr(from.second, to.second - from.second)};
    }

    // Room for that many pairs, and units of first and second texts, in all.
    void reserve(std::size_t pairs, std::size_t first_units, std::size_t second_units) {
        ends_.reserve(pairs);
        firsts_.reserve(first_units);
        seconds_.reserve(second_units);
    }
    void clear() noexcept {
        firsts_.clear();
        seconds_.clear();
        ends_.clear();
    }
    void add(first_view first, second_view second) {
        firsts_ += first;
        seconds_ += second;
        ends_.push_back(here());
    }
    // Adds to the second text of the last pair.
    void extend_last(second_view more) {
        seconds_ += more;
        ends_.back() = here();
    }
    void set_second(std::size_t index, second_view second) {
        const pair_end from = index == 0 ? pair_end{} : ends_[index - 1];
        const std::size_t before = ends_[index].second - from.second;
        seconds_.replace(from.second, before, second);
        check_limit();
        for (std::size_t at = index; at < ends_.size(); ++at)
            ends_[at].second += static_cast<std::uint32_t>(second.size() - before); // modulo 2^32: may shrink
    }
    // Removes all pairs for which `condition(record)` holds, in one walk.
    template <typename predicate>
    void remove_if(const predicate& condition) {
        text_pairs kept;
        for (const record pair : *this)
            if (!condition(pair)) kept.add(pair_first(pair), pair_second(pair));
        *this = std::move(kept);
    }

private:
    // Where the texts of a pair end; they begin where those of the pair before end.
    struct pair_end {
        std::uint32_t first = 0;
        std::uint32_t second = 0;
    };

    static first_view pair_first(const record& pair) {
        const auto& [first, second] = pair;
        static_cast<void>(second);
        return first;
    }
    static second_view pair_second(const record& pair) {
        const auto& [first, second] = pair;
        static_cast<void>(first);
        return second;
    }
    void check_limit() const {
        if (firsts_.size() > UINT32_MAX || seconds_.size() > UINT32_MAX) throw std::length_error("text_pairs");
    }
    [[nodiscard]] pair_end here() const {
        check_limit();
        return {static_cast<std::uint32_t>(firsts_.size()), static_cast<std::uint32_t>(seconds_.size())};
    }

    std::basic_string<first_char> firsts_;
    std::basic_string<second_char> seconds_;
    std::vector<pair_end> ends_;
};

} // namespace tackle::internet::message2
