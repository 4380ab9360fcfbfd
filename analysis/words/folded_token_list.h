#pragma once

#include "foundation/text/text.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace brimwarden::analysis {

// The words of a text, each reduced to the set of its letters: look-alikes are replaced ("c4s1n0" by "casino"), then
// order and repetition are dropped, so that what a spammer varies from copy to copy comes out the same. One entry for
// each token, in the order of the text.
//
// Each different set of letters is kept once and has a number, counted from 0 in the order of first appearance. Adding
// a token takes time in proportion to its length.
class folded_token_list {
public:
    // Makes room for so many tokens in all, and for the words of a text of that size.
    void reserve(std::size_t tokens);
    // Folds a token, which is not empty, and adds it.
    void append(tackle::wstring_view token);
    void clear();

    [[nodiscard]] std::size_t size() const { return tokens_.size(); }
    [[nodiscard]] bool empty() const { return tokens_.empty(); }
    // How many letters a token has.
    [[nodiscard]] std::size_t length(std::size_t index) const { return words_[tokens_[index]].length; }
    // Appends the letters of a token to `out`, in ascending order, each once.
    void append_letters(std::size_t index, tackle::wstring& out) const;
    // The numbers of the tokens: equal for equal sets of letters, all below word_count().
    [[nodiscard]] const std::vector<std::uint32_t>& numbers() const { return tokens_; }
    [[nodiscard]] std::size_t word_count() const { return words_.size(); }

private:
    // A set of letters. Those below U+0080 are two bit sets; they are spelled only for those few who want to read them.
    struct word {
        std::uint64_t low;    // U+0000 to U+003F
        std::uint64_t high;   // U+0040 to U+007F
        std::uint32_t hash;   // of all letters
        std::uint32_t length; // of all letters
        std::uint32_t begin;  // of the others, those from U+0080 up, in letters_
        std::uint32_t others;
    };

    void sort_others();
    [[nodiscard]] std::uint32_t number_of(std::uint64_t low, std::uint64_t high);
    void grow();

    tackle::wstring letters_; // from U+0080 up only
    std::vector<word> words_;
    std::vector<std::uint32_t> tokens_;
    std::vector<std::uint32_t> slots_; // a hash table of numbers plus one, 0 where empty; at most half full

    // Of the token in hand; kept for their memory.
    tackle::wstring others_;
    std::vector<std::uint64_t> other_set_; // one bit for each unit, for a token with many of them
};

} // namespace brimwarden::analysis
