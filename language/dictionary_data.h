#pragma once

#include <cstdint>

namespace brimwarden::language {

// One chunk of a word list. All rows of a language stand together and in word order; a null chunk ends the table.
//
// A chunk is a run of entries: a header byte, then new bytes of UTF-8. The high half of the header says how many
// leading bytes of the word before stay, the low half how many new bytes follow. Both count bytes, so a character can
// be cut in two. A header of zero ends the chunk; the word before is carried over into the next one.
struct dictionary_row {
    std::uint32_t lcid;
    const char* chunk;
};

// The lists of language/word_lists, as language/word_lists/generate.py has encoded them.
extern const dictionary_row dictionary_index[];

} // namespace brimwarden::language
