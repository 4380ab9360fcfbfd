#include "foundation/coding/coding.h"

#include "foundation/text/format.h"

#include <cstddef>

namespace tackle::coding::translate {
namespace {

constexpr string_view base64_alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr string_view uu_alphabet = " !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_";
constexpr string_view hex_alphabet = "0123456789abcdef";
static_assert(base64_alphabet.size() == 64 && uu_alphabet.size() == 64 && hex_alphabet.size() == 16);

constexpr std::uint8_t index_of(char byte) { return static_cast<std::uint8_t>(byte); }

constexpr decode_table table_of(string_view alphabet) {
    decode_table table{};
    table.fill(no_digit);
    for (std::size_t digit = 0; digit < alphabet.size(); ++digit)
        table[index_of(alphabet[digit])] = static_cast<std::uint16_t>(digit);
    return table;
}

constexpr decode_table base64_table = [] {
    auto table = table_of(base64_alphabet);
    table['='] = skip_digit;
    return table;
}();

constexpr decode_table uu_table = [] {
    auto table = table_of(uu_alphabet);
    table['`'] = 0;
    return table;
}();

constexpr decode_table hex_table = [] {
    auto table = table_of(hex_alphabet);
    for (char letter = 'A'; letter <= 'F'; ++letter)
        table[index_of(letter)] = static_cast<std::uint16_t>(letter - 'A' + 10);
    return table;
}();

// For each of the four places of a digit in a quad its value, shifted to where it ends up in the 24 bits of the quad.
constexpr std::uint32_t no_quad = 0x80000000; // this bit in any of the four: not four digits in a row
using quad_table = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr quad_table quads_of(const decode_table& table) {
    quad_table quads{};
    for (std::size_t place = 0; place < quads.size(); ++place)
        for (std::size_t byte = 0; byte < table.size(); ++byte)
            quads[place][byte] = table[byte] >= skip_digit ? no_quad : std::uint32_t{table[byte]} << (18 - 6 * place);
    return quads;
}

constexpr quad_table base64_quads = quads_of(base64_table);
constexpr quad_table uu_quads = quads_of(uu_table);

// The byte is widened as a signed one, so that one above 0x7F prints eight digits.
[[noreturn]] void raise_invalid_codeword(char byte) {
    throw invalid_codeword(format("Invalid Codeword 0x%.2X", static_cast<signed char>(byte)));
}

// The generic decoder for six bits, with a way around it for four digits in a row. That way is open only while no bits
// are carried over: what follows a skipped byte inside a quad has to go digit by digit until the bytes come out even.
// The room is made at once, because a string that grows byte by byte costs more than the decoding.
void decode_six_bits(string_view in, string& out, const decode_table& table, const quad_table& quads, bool strict) {
    const auto before = out.size();
    out.resize(before + in.size() / 4 * 3 + 3);
    char* to = out.data() + before;
    std::uint32_t acc = 0;
    unsigned have = 0;
    const char* at = in.data();
    const char* const end = at + in.size();
    while (at != end) {
        for (; end - at >= 4; at += 4, to += 3) {
            const auto quad = quads[0][index_of(at[0])] | quads[1][index_of(at[1])] | quads[2][index_of(at[2])] |
                              quads[3][index_of(at[3])];
            if ((quad & no_quad) != 0) break;
            to[0] = static_cast<char>(quad >> 16);
            to[1] = static_cast<char>(quad >> 8);
            to[2] = static_cast<char>(quad);
        }
        while (at != end) {
            const char byte = *at++;
            const auto digit = table[index_of(byte)];
            if (digit == no_digit && strict) {
                out.resize(static_cast<std::size_t>(to - out.data()));
                raise_invalid_codeword(byte);
            }
            if (digit < skip_digit) {
                acc = acc << 6 | digit;
                have += 6;
            }
            if (have >= 8) *to++ = static_cast<char>(acc >> (have -= 8));
            if (have == 0) break;
        }
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
}

} // namespace

void encode_stream(string_view in, string& out, string_view alphabet, unsigned bits) {
    const std::uint32_t mask = (1U << bits) - 1;
    std::uint32_t acc = 0;
    unsigned have = 0;
    out.reserve(out.size() + (in.size() * 8 + bits - 1) / bits + 2);
    for (const char byte : in) {
        acc = acc << 8 | index_of(byte);
        have += 8;
        while (have >= bits) {
            have -= bits;
            out += alphabet[acc >> have & mask];
        }
    }
    if (have != 0) out += alphabet[acc << (bits - have) & mask];
}

void decode_stream(string_view in, string& out, const decode_table& table, unsigned bits, bool strict) {
    std::uint32_t acc = 0;
    unsigned have = 0;
    for (const char byte : in) {
        const auto digit = table[index_of(byte)];
        if (digit == no_digit && strict) raise_invalid_codeword(byte);
        if (digit >= skip_digit) continue;
        acc = acc << bits | digit;
        have += bits;
        if (have >= 8) out += static_cast<char>(acc >> (have -= 8));
    }
}

void encode_number(std::uint64_t value, string& out, string_view alphabet, unsigned bits) {
    char digits[64];
    char* first = std::end(digits);
    do {
        *--first = alphabet[value & ((1U << bits) - 1)];
        value >>= bits;
    } while (value != 0);
    out.insert(out.begin(), first, std::end(digits));
}

void decode_number(string_view in, std::uint64_t& value, const decode_table& table, unsigned bits, bool strict) {
    for (const char byte : in) {
        const auto digit = table[index_of(byte)];
        if (digit == no_digit && strict) raise_invalid_codeword(byte);
        if (digit < skip_digit) value = (value << bits) + digit;
    }
}

void base64_encode(string_view in, string& out, bool pad) {
    encode_stream(in, out, base64_alphabet, 6);
    while (pad && out.size() % 4 != 0)
        out += '=';
}

string base64_encode(string_view in, bool pad) {
    string out;
    base64_encode(in, out, pad);
    return out;
}

string base64_encode(std::uint64_t value) {
    string out;
    encode_number(value, out, base64_alphabet, 6);
    return out;
}

void base64_decode(string_view in, string& out, bool strict) {
    decode_six_bits(in, out, base64_table, base64_quads, strict);
}

string base64_decode(string_view in, bool strict) {
    string out;
    base64_decode(in, out, strict);
    return out;
}

void base64_decode(string_view in, std::uint64_t& value, bool strict) {
    decode_number(in, value, base64_table, 6, strict);
}

void uu_encode(string_view in, string& out) { encode_stream(in, out, uu_alphabet, 6); }

string uu_encode(string_view in) {
    string out;
    uu_encode(in, out);
    return out;
}

string uu_encode(std::uint64_t value) {
    string out;
    encode_number(value, out, uu_alphabet, 6);
    return out;
}

void uu_decode(string_view in, string& out, bool strict) { decode_six_bits(in, out, uu_table, uu_quads, strict); }

string uu_decode(string_view in, bool strict) {
    string out;
    uu_decode(in, out, strict);
    return out;
}

void uu_decode(string_view in, std::uint64_t& value, bool strict) { decode_number(in, value, uu_table, 6, strict); }

void hex_encode(string_view in, string& out) { encode_stream(in, out, hex_alphabet, 4); }

string hex_encode(string_view in) {
    string out;
    hex_encode(in, out);
    return out;
}

string hex_encode(std::uint64_t value) {
    string out;
    encode_number(value, out, hex_alphabet, 4);
    return out;
}

void hex_decode(string_view in, string& out, bool strict) { decode_stream(in, out, hex_table, 4, strict); }

string hex_decode(string_view in, bool strict) {
    string out;
    hex_decode(in, out, strict);
    return out;
}

void hex_decode(string_view in, std::uint64_t& value, bool strict) { decode_number(in, value, hex_table, 4, strict); }

} // namespace tackle::coding::translate
