#include "platform/posix/code_page/utf7.h"

#include <array>
#include <cstdint>

namespace tackle::platform {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t no_digit = 64;

constexpr auto digits = [] {
    std::array<std::uint8_t, 256> all{};
    all.fill(no_digit);
    std::uint8_t digit = 0;
    for (const char c : alphabet)
        all[static_cast<std::uint8_t>(c)] = digit++;
    return all;
}();

// What Windows writes outside of a shift. ICU has the signs of the standard's second set there as well.
constexpr bool is_direct(char16_t unit) {
    if (unit >= 0x80 || unit == u'+') return false;
    return digits[unit] != no_digit ||
           std::u16string_view(u"\0\t\n\r '(),-.:?", 13).find(unit) != std::u16string_view::npos;
}

} // namespace

// ICU's decoder refuses backslashes, tildes, control characters and 8-bit text, all of which the other target reads,
// and signatures are made from them.
void decode_utf7(std::string_view bytes, std::u16string& out) {
    out.clear();
    out.reserve(bytes.size());
    std::uint32_t bits = 0;
    int have = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (bytes[at] != '+') {
            out += static_cast<char16_t>(static_cast<std::uint8_t>(bytes[at]));
            continue;
        }
        if (bytes.substr(at + 1).starts_with('-')) {
            out += u'+';
            ++at;
            continue;
        }
        while (at + 1 < bytes.size()) {
            const auto byte = static_cast<std::uint8_t>(bytes[at + 1]);
            const std::uint32_t digit = digits[byte];
            if (digit == no_digit) {
                if (byte < 0x80) have = 0; // bits left over go on behind 8-bit text: so does the other target
                if (byte == '-') ++at;
                break;
            }
            bits = bits << 6 | digit;
            have += 6;
            if (have >= 16) {
                have -= 16;
                out += static_cast<char16_t>(bits >> have);
            }
            ++at;
        }
    }
}

// Each shifted stretch ends in "-", needed or not.
void encode_utf7(std::u16string_view units, std::string& out) {
    out.clear();
    std::uint32_t bits = 0;
    int have = 0;
    bool shifted = false;
    const auto shift_back = [&] {
        if (!shifted) return;
        if (have != 0) out += alphabet[bits << (6 - have) & 63];
        out += '-';
        have = 0;
        shifted = false;
    };
    for (const auto unit : units) {
        if (is_direct(unit)) {
            shift_back();
            out += static_cast<char>(unit);
        } else if (unit == u'+') {
            shift_back();
            out += "+-";
        } else {
            if (!shifted) out += '+';
            shifted = true;
            bits = bits << 16 | unit;
            for (have += 16; have >= 6; have -= 6)
                out += alphabet[bits >> (have - 6) & 63];
        }
    }
    shift_back();
}

} // namespace tackle::platform
