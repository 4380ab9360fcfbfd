#pragma once

#include "foundation/exception.h"
#include "foundation/text/text.h"

#include <array>
#include <cstdint>

// Bytes into text and back: base64, uuencode, hexadecimal, quoted-printable and percent coding, all on 8-bit strings
// and without state, so any thread may call anything here.
//
// Each operation comes in two forms: one appends to `out` and leaves what stands there, one returns a new string. `out`
// must not be the text that `in` looks at. Only decoding with `strict` set fails: it throws invalid_codeword at the
// first byte that is no digit, and `out` then holds in addition what was complete before that byte. Empty input gives
// empty output, except for numbers, which have at least one digit.
namespace tackle::coding::translate {

class generic : public exception {
public:
    explicit generic(const string& text) : exception(text) { append_code("translate"); }
};

// The text is "Invalid Codeword 0x%.2X" with the byte widened as a signed one: 0x23, but 0xFFFFFFE4.
class invalid_codeword : public generic {
public:
    explicit invalid_codeword(const string& text) : generic(text) { append_code("invalid_codeword"); }
};

// What each input byte means to a decoder: the value of a digit, or one of the two below.
using decode_table = std::array<std::uint16_t, 256>;
constexpr std::uint16_t no_digit = 0xFFFF;   // thrown over in strict mode, skipped otherwise
constexpr std::uint16_t skip_digit = 0xFFFE; // skipped in both modes

// The generic coder: a stream of bits cut into digits of `bits` bits (1 to 8), most significant bit first.

// `alphabet` has 2 to the power of `bits` characters. The last digit is filled up with zero bits.
void encode_stream(string_view in, string& out, string_view alphabet, unsigned bits);
// Appends each byte as soon as eight bits are there; bits left over at the end are dropped, whatever they are.
void decode_stream(string_view in, string& out, const decode_table& table, unsigned bits, bool strict);
// Inserts the digits in front of `out`, the most significant first and without leading zeros; 0 has one digit.
void encode_number(std::uint64_t value, string& out, string_view alphabet, unsigned bits);
// Shifts digits into `value`, which is not cleared first. Bits beyond 64 fall out at the top.
void decode_number(string_view in, std::uint64_t& value, const decode_table& table, unsigned bits, bool strict);

// Base64 with the standard alphabet. `pad` fills up with "=" to a multiple of four and asks for an `out` that was
// empty. Decoding skips "=" in either mode and does not count it, so missing and superfluous padding are accepted.
void base64_encode(string_view in, string& out, bool pad);
[[nodiscard]] string base64_encode(string_view in, bool pad);
[[nodiscard]] string base64_encode(std::uint64_t value);
void base64_decode(string_view in, string& out, bool strict);
[[nodiscard]] string base64_decode(string_view in, bool strict);
void base64_decode(string_view in, std::uint64_t& value, bool strict);

// The digits of uuencode, 0x20 to 0x5F, without the length that starts each of its lines. Decoding takes a backquote
// for a blank.
void uu_encode(string_view in, string& out);
[[nodiscard]] string uu_encode(string_view in);
[[nodiscard]] string uu_encode(std::uint64_t value);
void uu_decode(string_view in, string& out, bool strict);
[[nodiscard]] string uu_decode(string_view in, bool strict);
void uu_decode(string_view in, std::uint64_t& value, bool strict);

// Hexadecimal, written in lower case and read in either. A single digit left over at the end is dropped.
void hex_encode(string_view in, string& out);
[[nodiscard]] string hex_encode(string_view in);
[[nodiscard]] string hex_encode(std::uint64_t value);
void hex_decode(string_view in, string& out, bool strict);
[[nodiscard]] string hex_decode(string_view in, bool strict);
void hex_decode(string_view in, std::uint64_t& value, bool strict);

// Quoted-printable without its lines: no line is broken, and a soft line break has to be gone before decoding. Encoding
// keeps what is printable ASCII, the blank included, but for "=" and the three that an encoded word can't hold: _ ? and
// ". Decoding passes an "=" on as text that has fewer than two bytes behind it, and, unless `strict` is set, one that
// two hexadecimal digits do not follow. The form that returns a string is strict.
void quoted_printable_encode(string_view in, string& out);
[[nodiscard]] string quoted_printable_encode(string_view in);
void quoted_printable_decode(string_view in, string& out, bool strict);
[[nodiscard]] string quoted_printable_decode(string_view in);
// Strict, for text that is likely damaged: false where the others throw.
[[nodiscard]] bool try_quoted_printable_decode(string_view in, string& out);

// Percent coding of addresses: letters, digits, ".", "-" and "_" stand for themselves. Decoding follows the rules of
// quoted-printable, with "%" for "=".
void percent_encode(string_view in, string& out);
[[nodiscard]] string percent_encode(string_view in);
void percent_decode(string_view in, string& out, bool strict);
[[nodiscard]] string percent_decode(string_view in);

} // namespace tackle::coding::translate
