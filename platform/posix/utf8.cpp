#include "platform/posix/utf8.h"

#include <cstdint>
#include <cstring>

namespace tackle::platform {
namespace {

constexpr char16_t replacement = 0xFFFD;

// Bytes that follow a lead byte, and the range of the first of them, which rules out overlong forms, surrogates and
// what lies behind U+10FFFF. The others range from 80 to BF.
struct lead_byte {
    std::uint8_t following = 0;
    std::uint8_t lowest = 0x80;
    std::uint8_t highest = 0xBF;
};

constexpr lead_byte classify(std::uint8_t byte) {
    if (byte >= 0xC2 && byte <= 0xDF) return {1};
    if (byte == 0xE0) return {2, 0xA0};
    if (byte == 0xED) return {2, 0x80, 0x9F};
    if (byte >= 0xE1 && byte <= 0xEF) return {2};
    if (byte == 0xF0) return {3, 0x90};
    if (byte >= 0xF1 && byte <= 0xF3) return {3};
    if (byte == 0xF4) return {3, 0x80, 0x8F};
    return {};
}

const std::uint8_t* decode_one(const std::uint8_t* from, const std::uint8_t* end, char16_t*& to) {
    const std::uint8_t lead = *from++;
    const auto [following, lowest, highest] = classify(lead);
    std::uint32_t value = lead & (0x3Fu >> following);
    for (int i = 0; i < following; ++i) {
        if (from == end || (*from & 0xC0) != 0x80) {
            *to++ = replacement;
            return from; // at the byte that does not belong, which may begin something
        }
        const auto next = *from++;
        if (i == 0 && (next < lowest || next > highest)) {
            *to++ = replacement;
            return from; // behind the byte that spoils it: the other target counts it in
        }
        value = value << 6 | (next & 0x3Fu);
    }
    if (following == 0) {
        *to++ = replacement;
    } else if (value < 0x10000) {
        *to++ = static_cast<char16_t>(value);
    } else {
        *to++ = static_cast<char16_t>(0xD7C0 + (value >> 10));
        *to++ = static_cast<char16_t>(0xDC00 + (value & 0x3FF));
    }
    return from;
}

} // namespace

void decode_utf8(std::string_view bytes, std::u16string& out) {
    out.resize(bytes.size()); // no sequence has more units than bytes
    const auto* from = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto* const end = from + bytes.size();
    char16_t* to = out.data();
    while (from != end) {
        constexpr std::uint64_t high_bits = 0x8080808080808080;
        std::uint64_t eight;
        while (end - from >= 8 && (std::memcpy(&eight, from, 8), (eight & high_bits) == 0)) {
            for (int i = 0; i < 8; ++i)
                to[i] = from[i];
            from += 8;
            to += 8;
        }
        while (from != end && *from < 0x80)
            *to++ = *from++;
        while (from != end && *from >= 0x80)
            from = decode_one(from, end, to);
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
}

void encode_utf8(std::u16string_view units, std::string& out) {
    out.resize(units.size() * 3); // a pair of two units takes four bytes
    char* to = out.data();
    const auto put = [&to](std::uint32_t byte) { *to++ = static_cast<char>(byte); };
    for (std::size_t i = 0; i < units.size(); ++i) {
        std::uint32_t value = units[i];
        if (value < 0x80) {
            put(value);
            continue;
        }
        if (value < 0x800) {
            put(0xC0 | value >> 6);
            put(0x80 | (value & 0x3F));
            continue;
        }
        if (value >= 0xD800 && value < 0xE000) {
            const bool pair = value < 0xDC00 && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000;
            if (pair) {
                value = 0x10000 + ((value - 0xD800) << 10) + (units[++i] - 0xDC00u);
                put(0xF0 | value >> 18);
                put(0x80 | (value >> 12 & 0x3F));
                put(0x80 | (value >> 6 & 0x3F));
                put(0x80 | (value & 0x3F));
                continue;
            }
            value = replacement;
        }
        put(0xE0 | value >> 12);
        put(0x80 | (value >> 6 & 0x3F));
        put(0x80 | (value & 0x3F));
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
}

} // namespace tackle::platform
