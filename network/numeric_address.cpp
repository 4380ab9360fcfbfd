#include "network/numeric_address.h"

#include <charconv>

namespace tackle::internet::address {

namespace {

// Takes one number off the front of the text.
std::optional<std::uint32_t> take_number(string_view& text) noexcept {
    int base = 10;
    if (text.size() > 1 && text[0] == '0') {
        const bool hexadecimal = text[1] == 'x' || text[1] == 'X';
        base = hexadecimal ? 16 : 8;
        text.remove_prefix(hexadecimal ? 2 : 1);
        if (base == 8 && text[0] == '.') return 0; // the zero was all of it
    }
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

} // namespace

std::optional<std::uint32_t> parse_numeric(string_view text) noexcept {
    std::uint32_t address = 0;
    for (unsigned bytes_left = 4; bytes_left > 0; --bytes_left) {
        const auto number = take_number(text);
        if (!number) return std::nullopt;
        if (text.empty()) {
            if (bytes_left < 4 && *number >> (8 * bytes_left) != 0) return std::nullopt;
            return address | *number;
        }
        if (text.front() != '.' || *number > 0xFF) return std::nullopt;
        text.remove_prefix(1);
        address |= *number << (8 * (bytes_left - 1));
    }
    return std::nullopt; // a fifth number
}

string numeric_text(std::uint32_t address) {
    char text[sizeof "255.255.255.255"];
    char* end = text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        if (shift != 24) *end++ = '.';
        end = std::to_chars(end, std::end(text), address >> shift & 0xFF).ptr;
    }
    return string(text, end);
}

} // namespace tackle::internet::address
