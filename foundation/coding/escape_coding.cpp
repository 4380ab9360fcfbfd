// Quoted-printable and percent coding: bytes that stand for themselves, and an escape with two hexadecimal digits for
// the rest.
#include "foundation/coding/coding.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

namespace tackle::coding::translate {
namespace {

using byte_set = std::array<bool, 256>;

constexpr byte_set quoted_printable_plain = [] {
    byte_set plain{};
    for (int byte = 0x20; byte <= 0x7E; ++byte)
        plain[static_cast<std::size_t>(byte)] = byte != '=' && byte != '_' && byte != '?' && byte != '"';
    return plain;
}();

constexpr byte_set percent_plain = [] {
    byte_set plain{};
    for (const char byte : string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_"))
        plain[static_cast<std::uint8_t>(byte)] = true;
    return plain;
}();

// Negative: no hexadecimal digit.
constexpr std::array<std::int8_t, 256> hex_values = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::int8_t digit = 0; digit < 16; ++digit) {
        values[static_cast<std::uint8_t>("0123456789abcdef"[digit])] = digit;
        values[static_cast<std::uint8_t>("0123456789ABCDEF"[digit])] = digit;
    }
    return values;
}();

int hex_value(char byte) { return hex_values[static_cast<std::uint8_t>(byte)]; }

void encode(string_view in, string& out, char escape, const byte_set& plain) {
    out.reserve(out.size() + in.size());
    for (const char byte : in) {
        const auto value = static_cast<std::uint8_t>(byte);
        if (plain[value]) {
            out += byte;
        } else {
            out += escape;
            out += "0123456789ABCDEF"[value >> 4];
            out += "0123456789ABCDEF"[value & 15];
        }
    }
}

// Copies eight bytes at a time up to the first `escape` and returns the number of bytes in front of it, or all of
// `length`. May write anything behind them, up to `length` bytes.
std::size_t copy_up_to(char escape, const char* from, std::size_t length, char* to) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    const auto pattern = ones * static_cast<std::uint8_t>(escape);
    std::size_t done = 0;
    if constexpr (std::endian::native == std::endian::little) {
        for (std::uint64_t word = 0; length - done >= sizeof word; done += sizeof word) {
            std::memcpy(&word, from + done, sizeof word);
            std::memcpy(to + done, &word, sizeof word);
            word ^= pattern;
            const auto found = (word - ones) & ~word & ones << 7; // the lowest bit set is right, those above may not be
            if (found != 0) return done + static_cast<std::size_t>(std::countr_zero(found)) / 8;
        }
    }
    for (; done < length && from[done] != escape; ++done)
        to[done] = from[done];
    return done;
}

// Null, or in strict mode the first escape that can't be decoded, at which it stops.
const char* decode_up_to_bad(string_view in, string& out, char escape, bool strict) {
    const auto before = out.size();
    out.resize(before + in.size());
    const char* at = in.data();
    const char* const end = at + in.size();
    const char* const last = end - std::min<std::size_t>(in.size(), 2); // from here on no escape has room
    char* to = out.data() + before;
    while (at != last) {
        if (*at != escape) {
            const auto plain = copy_up_to(escape, at, static_cast<std::size_t>(last - at), to);
            at += plain;
            to += plain;
            continue;
        }
        const int value = hex_value(at[1]) * 16 | hex_value(at[2]);
        if (value >= 0) {
            *to++ = static_cast<char>(value);
            at += 3;
            if (at > last) break;
        } else if (strict) {
            out.resize(static_cast<std::size_t>(to - out.data()));
            return at;
        } else {
            *to++ = *at++;
        }
    }
    while (at != end)
        *to++ = *at++;
    out.resize(static_cast<std::size_t>(to - out.data()));
    return nullptr;
}

void decode(string_view in, string& out, char escape, bool strict) {
    const char* const bad = decode_up_to_bad(in, out, escape, strict);
    if (bad != nullptr) (void)hex_decode(string_view(bad + 1, 2), true); // raises
}

} // namespace

void quoted_printable_encode(string_view in, string& out) { encode(in, out, '=', quoted_printable_plain); }

string quoted_printable_encode(string_view in) {
    string out;
    quoted_printable_encode(in, out);
    return out;
}

void quoted_printable_decode(string_view in, string& out, bool strict) { decode(in, out, '=', strict); }

string quoted_printable_decode(string_view in) {
    string out;
    quoted_printable_decode(in, out, true);
    return out;
}

bool try_quoted_printable_decode(string_view in, string& out) {
    return decode_up_to_bad(in, out, '=', true) == nullptr;
}

void percent_encode(string_view in, string& out) { encode(in, out, '%', percent_plain); }

string percent_encode(string_view in) {
    string out;
    percent_encode(in, out);
    return out;
}

void percent_decode(string_view in, string& out, bool strict) { decode(in, out, '%', strict); }

string percent_decode(string_view in) {
    string out;
    percent_decode(in, out, true);
    return out;
}

} // namespace tackle::coding::translate
