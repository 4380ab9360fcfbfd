#include "analysis/origin_address.h"

#include <algorithm>

#include "foundation/text/strings.h"
#include "network/numeric_address.h"

namespace brimwarden::analysis {

namespace {

using tackle::string_view;
using tackle::wstring_view;
using tackle::internet::address::ip4;

struct range {
    std::uint32_t first;
    std::uint32_t last;
};
constexpr range not_public[] = {
    {0x00000000, 0x00000000}, {0x0A000000, 0x0AFFFFFF}, {0x7F000000, 0x7FFFFFFF}, {0xA9FE0000, 0xA9FEFFFF},
    {0xAC100000, 0xAC1FFFFF}, {0xC0A80000, 0xC0A8FFFF}, {0xE0000000, 0xEFFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFF},
};

bool ends_sender(string_view piece) {
    constexpr string_view words[] = {"by", "via", "with", "id", "for"};
    constexpr std::size_t longest = 4;
    return piece.size() <= longest &&
           std::ranges::any_of(words, [piece](string_view word) { return tackle::iequals(piece, word); });
}

bool looks_dotted(string_view piece) {
    const auto may_begin = [](char c) { return c == '.' || (c >= '0' && c <= '9'); };
    return piece.size() >= 7 && piece.size() <= 15 && may_begin(piece.front()) && std::ranges::count(piece, '.') == 3 &&
           piece.find_first_not_of(".0123456789") == string_view::npos;
}

std::optional<ip4> if_public(std::uint32_t address) {
    if (!public_address(address)) return std::nullopt;
    return ip4(address, 0);
}

int digit_value(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    const char16_t letter = tackle::lower_letter(unit);
    return letter >= u'a' && letter <= u'f' ? letter - u'a' + 10 : -1;
}

// As scanf's "%8x": white space in front, then a sign, "0x" and digits, eight units of them all together.
std::optional<std::uint32_t> read_hexadecimal(wstring_view text) {
    const auto start = text.find_first_not_of(u" \t\n\v\f\r");
    if (start == wstring_view::npos) return std::nullopt;
    text = text.substr(start, 8);
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+')) text.remove_prefix(1);
    if (text.starts_with(u"0x") || text.starts_with(u"0X")) text.remove_prefix(2);
    std::uint32_t number = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && digit_value(text[digits]) >= 0; ++digits) {
        number = number << 4 | static_cast<std::uint32_t>(digit_value(text[digits]));
    }
    if (digits == 0) return std::nullopt;
    return negative ? 0U - number : number;
}

std::uint32_t reverse_bytes(std::uint32_t number) {
    return number << 24 | (number & 0xFF00) << 8 | (number >> 8 & 0xFF00) | number >> 24;
}

} // namespace

bool public_address(std::uint32_t address) noexcept {
    return std::ranges::none_of(not_public, [address](range r) { return address >= r.first && address <= r.last; });
}

std::optional<ip4> received_address(string_view raw_value) {
    const auto separates = [](char c) { return c == ' ' || c == '(' || c == ')' || c == '[' || c == ']'; };
    string_view candidate;
    while (!raw_value.empty()) {
        const auto length = static_cast<std::size_t>(std::ranges::find_if(raw_value, separates) - raw_value.begin());
        const auto piece = raw_value.substr(0, length);
        if (ends_sender(piece)) break;
        if (looks_dotted(piece)) candidate = piece;
        raw_value.remove_prefix(std::min(length + 1, raw_value.size()));
    }
    const auto address = tackle::internet::address::parse_numeric(candidate);
    return address ? if_public(*address) : std::nullopt;
}

std::optional<ip4> message_id_address(wstring_view message_id) {
    if (message_id.starts_with(u'<')) message_id.remove_prefix(1);
    if (message_id.ends_with(u'>')) message_id.remove_suffix(1);
    if (std::ranges::count(message_id, u'$') != 2 || std::ranges::count(message_id, u'@') != 1) return std::nullopt;
    const auto pieces = tackle::split_tokens(message_id, u"$@");
    if (pieces.size() != 4) return std::nullopt;
    const auto number = read_hexadecimal(pieces[2]);
    return number ? if_public(reverse_bytes(*number)) : std::nullopt;
}

} // namespace brimwarden::analysis
