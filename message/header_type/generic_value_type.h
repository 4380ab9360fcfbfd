#pragma once

#include "foundation/text/unicode.h"

#include <cstdint>

namespace tackle::internet::message2::header_type {

// Root of the value types: an object of the type that suits a field is handed to part::get_header, which fills it from
// the raw value. There is no table of field names, the caller chooses. A value may be parsed again: parse forgets the
// rest, but the charset stays.
//
// Malformed structure never fails. Text can: parse throws unicode::generic for bytes that a charset can't map, and
// coding::translate::invalid_codeword for a "Q" word with a bad hexadecimal pair. The value then holds part of the
// text, or none.
class generic_value_type {
public:
    virtual ~generic_value_type() = default;

    // The value as it is written into a message. Throws unicode::generic if it does not fit the charset.
    [[nodiscard]] virtual string render() const = 0;
    virtual void parse(string_view raw) = 0;

    // The character set that unencoded 8-bit text is read with and non-ASCII text is encoded with. An encoded word
    // sets it to its own, for all that follows: the rest of the value, later values, rendering.
    [[nodiscard]] const string& charset() const noexcept { return charset_; }

protected:
    generic_value_type() = default; // "iso-8859-1"
    explicit generic_value_type(string_view charset) { set_charset(charset); }
    generic_value_type(const generic_value_type&) = default;
    generic_value_type& operator=(const generic_value_type&) = default;

    void set_charset(string_view charset);

    // Whether a raw value has nothing to decode: each of its bytes is the unit of the same value.
    [[nodiscard]] bool is_plain(string_view raw) const;

    enum class last_blanks { drop, keep };
    // The text of a raw value with its encoded words decoded. White space between two of them disappears, any other is
    // kept to the blank; that at the very end goes by `blanks`.
    [[nodiscard]] wstring decode_words(string_view raw, last_blanks blanks);
    // What becomes of text that can't be read: it throws, or makes the result false. A message can hold hundreds of
    // thousands of unreadable fields, and each exception costs as much as thousands of bytes.
    enum class unreadable { raises, fails_by_charset, fails };
    // Appends the text as above. With `fails` it throws nothing but std::bad_alloc; `out` then holds part of the text, and
    // the charset is what it was before: a text that is left out must not make the next one unreadable.
    bool decode_words(string_view raw, last_blanks blanks, wstring& out, unreadable how);
    // The text for a message: itself if it is ASCII, else one encoded word of whatever length, the shorter of "Q" and
    // "B".
    [[nodiscard]] string encode_word(wstring_view text) const;
    // The same, appended. False where encode_word throws, save for std::bad_alloc; nothing is appended then.
    [[nodiscard]] bool try_encode_word(wstring_view text, string& out) const;

private:
    enum class piece_kind { plain, word, unreadable };
    [[nodiscard]] string encode_bytes(string_view bytes) const;
    bool decode_pieces(string_view raw, wstring& out, unreadable how);
    piece_kind decode_piece(string_view piece, wstring& out, unreadable how);
    void change_charset(string_view charset);
    void restore_charset() noexcept;
    bool reads_as_letters(string_view text);

    string charset_ = "iso-8859-1";
    std::uint32_t code_page_ = 28591; // that of charset_; looked up once a charset, not once a word
    // What they were before the text that is being read, if it has changed them. Moved and never copied: names are as
    // long as the sender likes.
    string charset_before_;
    std::uint32_t code_page_before_ = 0;
    bool changed_ = false;
    // Whether the code page keeps letters, once it was asked.
    std::uint32_t asked_page_ = unicode::raw_code_page;
    bool keeps_letters_ = true;
    unsigned not_asked_ = 0; // words of letters converted instead
};

} // namespace tackle::internet::message2::header_type
