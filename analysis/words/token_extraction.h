#pragma once

#include "analysis/words/folded_token_list.h"
#include "analysis/words/token_list.h"
#include "findings/test_result.h"
#include "foundation/text/text.h"
#include "message/part.h"

#include <cstdint>
#include <vector>

// Reduces the displayed text of a message to words, and makes the tests that the reduced text allows. All of it takes
// time in proportion to the text, whatever it holds (n log n for the names of recipients).
namespace brimwarden::analysis {

enum class token_mode : std::uint8_t {
    word_mode, // punctuation ends a word
    dot_mode   // a full stop ends a word, and no other punctuation
};
using enum token_mode;

// Makes every control and white-space unit of `text` a blank and all others lower-case, each at its place: A to Z and
// everything from U+0100 up, while accented capitals of Latin-1 stay.
void normalise_text(tackle::wstring& text);

// Replaces what is in `tokens` by the words of a normalised text. Words behind "http:" or "https:" are none, up to the
// next white space; in word_mode the scheme itself is one.
void tokenise(tackle::wstring_view text, token_list& tokens, token_mode mode);

// Appends each token to the folded list.
void fold_tokens(const token_list& tokens, folded_token_list& folded);

// Looks for the names of the recipients, the part of an address in front of the "@", among words of word_mode: spam is
// made personal that way. A name that occurs just once is a finding, three at most over To and CC, and its token is
// taken out of the list, so that it can't make the signatures of the copies differ. A field that can't be read counts
// as one without addresses.
void check_address_customization(const tackle::internet::message2::part& root, token_list& tokens,
                                 test_result_list& test_results);

// Looks for the redirection of a search engine and for the test text of spam filters in a normalised text, its blanks
// left out. One of more than 1024 units without them is neither.
void check_diagnostics(tackle::wstring_view text, test_result_list& test_results);

} // namespace brimwarden::analysis
