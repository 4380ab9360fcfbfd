#pragma once

#include "foundation/text/text.h"

#include <cstddef>

namespace tackle::internet::message2 {

// The one scanner under all structured header values: gives the tokens between delimiter bytes, one at a time. A
// delimiter in a quoted string or an encoded word does not split, and one that never closes runs to the end. A
// backslash outside of both is dropped and shields the byte behind it, inside it is a byte like any other. Blanks
// before a token are dropped, those behind it stay. Neighbouring delimiters have an empty token between them, the last
// token is given only if it is not empty. The raw value has to outlive the reader.
class token_reader {
public:
    // `keep_quotes` leaves the quotes in the tokens, for another round of tokens within them.
    // The delimiters may be any of ; , < > =
    token_reader(string_view raw, string_view delimiters, bool keep_quotes) noexcept
        : raw_(raw), delimiters_(delimiters), keep_quotes_(keep_quotes) {}

    // False if there are no more; `token` is then empty.
    bool next(string& token);
    // Behind the last token and the delimiter that ended it; the size of the raw value at its end.
    [[nodiscard]] std::size_t position() const noexcept { return position_; }

private:
    void take_quoted(string& token);
    void take_word(string& token);

    string_view raw_;
    string_view delimiters_;
    std::size_t position_ = 0;
    bool keep_quotes_;
};

} // namespace tackle::internet::message2
