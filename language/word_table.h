#pragma once

#include "foundation/text/text.h"
#include "language/dictionary_data.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace brimwarden::language {

// Some of at most 64 languages, one bit for each position in an ascending list of LCIDs.
using language_set = std::uint64_t;

// The position of an LCID in an ascending list that holds it.
[[nodiscard]] std::size_t position_of(std::uint32_t lcid, std::span<const std::uint32_t> languages);

// All words of all dictionaries in one hash table over flat memory: a text asks once for each of its words, and most
// words of a text are in no dictionary. Constant after its construction, so any number of threads may ask.
class word_table {
public:
    // `languages` has to hold every LCID of the index. Neither is needed afterwards.
    // Throws tackle::unicode::generic for a word that is not UTF-8 on a platform that refuses such.
    word_table(const dictionary_row* index, std::span<const std::uint32_t> languages);

    // No word of a dictionary has more units: two half bytes tell its length in bytes.
    static constexpr std::size_t longest_word = 30;

    // The hash of a word is made unit by unit, so that the caller can do it on its way through a text.
    static constexpr std::uint32_t empty_hash = 0x811C9DC5;
    [[nodiscard]] static constexpr std::uint32_t extend_hash(std::uint32_t hash, char16_t unit) {
        return (hash ^ unit) * 0x01000193;
    }

    // The languages that have `word`, exactly as written; `hash` has to be the hash of all its units.
    [[nodiscard]] language_set find(tackle::wstring_view word, std::uint32_t hash) const;

private:
    struct entry {
        std::uint32_t start; // in letters_
        std::uint32_t length;
        language_set languages;
    };

    void collect(const dictionary_row* index, std::span<const std::uint32_t> languages);
    void append(tackle::wstring_view words, language_set languages);
    void enter_all();
    [[nodiscard]] std::size_t first_slot(std::uint32_t hash) const { return hash * 0x9E3779B1U >> shift_; }
    [[nodiscard]] tackle::wstring_view letters(const entry& e) const {
        return tackle::wstring_view(letters_).substr(e.start, e.length);
    }

    tackle::wstring letters_;
    std::vector<entry> entries_;
    // 0 for a free slot, else the number of the entry plus one in the low bits and the hash in the others: a word that
    // is in no dictionary is known by that alone, and costs one access to memory.
    std::vector<std::uint32_t> slots_;
    std::uint32_t number_bits_ = 0; // a mask
    int shift_ = 0;
};

} // namespace brimwarden::language
