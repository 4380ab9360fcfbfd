#pragma once

#include "foundation/text/text.h"
#include "language/dictionary_data.h"

namespace brimwarden::language {

// Reads the words of a dictionary table one by one. The data is constant and made by our own generator: nothing in it
// is tested, so it may not come from anywhere else.
class dictionary_reader {
public:
    // `index` has to outlive the reader.
    explicit dictionary_reader(const dictionary_row* index);

    // Goes to the next word; false at the end of the table, after which it may not be called again.
    bool next();

    // The word that the last next() has found, in UTF-8; the view is good until the next call.
    [[nodiscard]] tackle::string_view word() const { return word_; }
    // The language of that word.
    [[nodiscard]] std::uint32_t lcid() const { return row_->lcid; }

private:
    const dictionary_row* row_;
    const char* position_; // at the next header, or null before the first row
    tackle::string word_;
};

} // namespace brimwarden::language
