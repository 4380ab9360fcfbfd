#pragma once

#include "foundation/text/text.h"

#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <vector>

namespace brimwarden::analysis {

// Words in the order of a text, duplicates kept, none of them empty. Kept as places in the text, which has to live as
// long and must not change: a text can consist of words of one letter, and eight bytes are four times that.
class token_list {
public:
    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = tackle::wstring_view;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = tackle::wstring_view;

        iterator() = default;
        iterator(const token_list* list, std::size_t index) : list_(list), index_(index) {}
        tackle::wstring_view operator*() const { return (*list_)[index_]; }
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
        const token_list* list_ = nullptr;
        std::size_t index_ = 0;
    };

    token_list() = default;
    // Copies of words that are in no text.
    token_list(std::initializer_list<tackle::wstring_view> words) : token_list(std::vector(words)) {}
    token_list(const std::vector<tackle::wstring_view>& words) {
        for (const auto word : words) {
            add(copies_.size(), copies_.size() + word.size());
            copies_ += word;
        }
    }

    [[nodiscard]] std::size_t size() const { return places_.size(); }
    [[nodiscard]] bool empty() const { return places_.empty(); }
    [[nodiscard]] tackle::wstring_view operator[](std::size_t index) const {
        const auto at = places_[index];
        return {(copies_.empty() ? text_ : copies_.data()) + at.begin, at.length};
    }
    [[nodiscard]] iterator begin() const { return {this, 0}; }
    [[nodiscard]] iterator end() const { return {this, size()}; }

    // No words, and room for all that a text can have. It has less than 2^32 units.
    void start(tackle::wstring_view text) {
        copies_.clear();
        places_.clear();
        places_.reserve(text.size() / 2 + 1);
        text_ = text.data();
    }
    // A word of that text.
    void add(std::size_t begin, std::size_t end) {
        places_.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end - begin)});
    }
    void remove(std::size_t index) { places_.erase(places_.begin() + static_cast<std::ptrdiff_t>(index)); }

private:
    struct place {
        std::uint32_t begin;
        std::uint32_t length;
    };
    const char16_t* text_ = nullptr;
    std::vector<place> places_;
    tackle::wstring copies_; // in place of a text
};

} // namespace brimwarden::analysis
