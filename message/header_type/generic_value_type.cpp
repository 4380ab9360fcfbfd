#include "message/header_type/generic_value_type.h"

#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "message/header_type/ascii_text.h"

#include <algorithm>
#include <utility>

namespace tackle::internet::message2::header_type {

namespace {

// To ask a code page what it does to letters takes as long as some conversions, and most fields have only a few.
constexpr unsigned worth_asking = 16;

} // namespace

void generic_value_type::set_charset(string_view charset) {
    charset_ = charset;
    code_page_ = unicode::code_page_of(charset);
}

void generic_value_type::change_charset(string_view charset) {
    if (!changed_) {
        charset_before_.swap(charset_);
        code_page_before_ = code_page_;
        changed_ = true;
    }
    set_charset(charset);
}

void generic_value_type::restore_charset() noexcept {
    if (!changed_) return;
    charset_.swap(charset_before_);
    code_page_ = code_page_before_;
}

// A conversion takes a lock in some code pages, and a value can have a text to convert for every other byte.
bool generic_value_type::reads_as_letters(string_view text) {
    if (keeps_ascii(code_page_) || !is_letters(text)) return false; // needs no conversion anyway
    if (asked_page_ != code_page_) {
        if (++not_asked_ < worth_asking) return false;
        keeps_letters_ = keeps_letters(code_page_);
        asked_page_ = code_page_;
    }
    return keeps_letters_;
}

bool generic_value_type::is_plain(string_view raw) const {
    return raw.find("=?") == string_view::npos && keeps_ascii(code_page_) && is_ascii(raw);
}

wstring generic_value_type::decode_words(string_view raw, last_blanks blanks) {
    wstring out;
    decode_words(raw, blanks, out, unreadable::raises);
    return out;
}

bool generic_value_type::decode_words(string_view raw, last_blanks blanks, wstring& out, unreadable how) {
    if (blanks == last_blanks::drop) raw = raw.substr(0, raw.find_last_not_of(' ') + 1);
    out.reserve(out.size() + raw.size());
    if (is_plain(raw)) {
        unicode::append_raw(raw, out);
        return true;
    }
    changed_ = false;
    const bool readable = decode_pieces(raw, out, how);
    if (!readable) restore_charset();
    return readable;
}

bool generic_value_type::decode_pieces(string_view raw, wstring& out, unreadable how) {
    bool word_before = false;
    std::size_t position = 0;
    for (std::size_t gap = 0;;) {
        const std::size_t end = std::min(raw.find(' ', position), raw.size());
        const std::size_t before = out.size();
        out.append(gap, u' ');
        const piece_kind kind = decode_piece(raw.substr(position, end - position), out, how);
        if (kind == piece_kind::unreadable) return false;
        const bool word = kind == piece_kind::word;
        if (word && word_before) out.erase(before, gap);
        word_before = word;
        if (end == raw.size()) return true;
        position = std::min(raw.find_first_not_of(' ', end), raw.size());
        gap = position - end;
        if (position == raw.size()) {
            out.append(gap, u' '); // left only if they are to be kept
            return true;
        }
    }
}

// Appends the text of one blank-free piece and answers whether an encoded word was in it. Text stuck to the word on
// either side stands for itself, byte for byte.
generic_value_type::piece_kind generic_value_type::decode_piece(string_view piece, wstring& out, unreadable how) {
    const auto append = [&](string_view text, piece_kind kind) {
        if (reads_as_letters(text)) {
            unicode::append_raw(text, out);
            return kind;
        }
        if (how == unreadable::raises) {
            append_wide(text, code_page_, out);
            return kind;
        }
        return try_append_wide(text, code_page_, out) ? kind : piece_kind::unreadable;
    };
    const std::size_t open = piece.find("=?");
    const std::size_t close = piece.rfind("?=");
    // A "?=" before the first "=?" closes nothing.
    if (open == string_view::npos || close == string_view::npos || close < open)
        return append(piece, piece_kind::plain);
    // "=", charset, encoding, text, "=": four question marks in all.
    const string_view word = piece.substr(open, close + 2 - open);
    const std::size_t charset_end = word.find('?', 2);
    const std::size_t encoding_end = charset_end == string_view::npos ? charset_end : word.find('?', charset_end + 1);
    const std::size_t text_end = encoding_end == string_view::npos ? encoding_end : word.find('?', encoding_end + 1);
    if (text_end == string_view::npos || text_end != word.size() - 2) return append(piece, piece_kind::plain);
    // Set even if the encoding turns out to be none: what follows is read with it.
    change_charset(word.substr(2, charset_end - 2));
    const string_view encoding = word.substr(charset_end + 1, encoding_end - charset_end - 1);
    string text(word.substr(encoding_end + 1, text_end - encoding_end - 1));
    if (encoding == "Q" || encoding == "q") {
        std::replace(text.begin(), text.end(), '_', ' ');
        const string encoded = std::exchange(text, {});
        if (how != unreadable::fails) {
            text = coding::translate::quoted_printable_decode(encoded);
        } else if (!coding::translate::try_quoted_printable_decode(encoded, text)) {
            return piece_kind::unreadable;
        }
    } else if (encoding == "B" || encoding == "b") {
        text = coding::translate::base64_decode(text, false);
    } else {
        return append(piece, piece_kind::plain);
    }
    append_wide(piece.substr(0, open), unicode::raw_code_page, out);
    if (append(text, piece_kind::word) == piece_kind::unreadable) return piece_kind::unreadable;
    append_wide(piece.substr(close + 2), unicode::raw_code_page, out);
    return piece_kind::word;
}

string generic_value_type::encode_word(wstring_view text) const {
    if (is_ascii(text)) return string(text.begin(), text.end());
    return encode_bytes(unicode::to_narrow(text, code_page_, true));
}

bool generic_value_type::try_encode_word(wstring_view text, string& out) const {
    if (is_ascii(text)) {
        out.append(text.begin(), text.end());
        return true;
    }
    string bytes;
    if (!unicode::try_to_narrow(text, code_page_, bytes)) return false;
    out += encode_bytes(bytes);
    return true;
}

string generic_value_type::encode_bytes(string_view bytes) const {
    const string base64 = coding::translate::base64_encode(bytes, true);
    string quoted = coding::translate::quoted_printable_encode(bytes);
    std::replace(quoted.begin(), quoted.end(), ' ', '_');
    const bool shorter = base64.size() < quoted.size();
    return "=?" + charset_ + (shorter ? "?B?" + base64 : "?Q?" + quoted) + "?=";
}

} // namespace tackle::internet::message2::header_type
