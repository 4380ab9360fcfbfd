#include "platform/posix/code_page/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

constexpr auto lead_bytes = [] {
    std::array<lead_byte, 256> all{};
    for (unsigned byte = 0; byte < all.size(); ++byte)
        all[byte] = classify(static_cast<std::uint8_t>(byte));
    return all;
}();

const std::uint8_t* decode_one(const std::uint8_t* from, const std::uint8_t* end, char16_t*& to) {
    const std::uint8_t lead = *from++;
    if (lead < 0x80) {
        *to++ = lead;
        return from;
    }
    const auto [following, lowest, highest] = lead_bytes[lead];
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

// decode_block takes up to `block` bytes with one look, but reads `block_reach` bytes. It refuses, and takes nothing,
// unless they are well-formed sequences of one to three bytes; one that the block cuts off is left to the next.
constexpr std::ptrdiff_t block = 16;

#if defined(__SSE2__)

constexpr std::ptrdiff_t block_reach = block + 2;

// What eight bytes, widened, stand for if each begins a sequence together with the two behind it. Adds to `refused`
// the lanes where three bytes make an overlong form or a surrogate.
__m128i units_of(__m128i first, __m128i second, __m128i third, __m128i& refused) {
    const __m128i six_bits = _mm_set1_epi16(0x3F);
    const __m128i is_two_or_three = _mm_cmpgt_epi16(first, _mm_set1_epi16(0xBF));
    const __m128i is_three = _mm_cmpgt_epi16(first, _mm_set1_epi16(0xDF));
    second = _mm_and_si128(second, six_bits);
    const __m128i two = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(first, _mm_set1_epi16(0x1F)), 6), second);
    const __m128i three = _mm_or_si128(_mm_or_si128(_mm_slli_epi16(first, 12), _mm_slli_epi16(second, 6)),
                                       _mm_and_si128(third, six_bits));
    const __m128i top = _mm_and_si128(three, _mm_set1_epi16(static_cast<short>(0xF800)));
    const __m128i not_three = _mm_or_si128(_mm_cmpeq_epi16(top, _mm_setzero_si128()),
                                           _mm_cmpeq_epi16(top, _mm_set1_epi16(static_cast<short>(0xD800))));
    refused = _mm_or_si128(refused, _mm_and_si128(is_three, not_three));
    const __m128i long_ones = _mm_or_si128(_mm_and_si128(is_three, three), _mm_andnot_si128(is_three, two));
    return _mm_or_si128(_mm_and_si128(is_two_or_three, long_ones), _mm_andnot_si128(is_two_or_three, first));
}

bool decode_block(const std::uint8_t*& from, char16_t*& to) {
    const auto load = [from](int at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + at)); };
    const auto mask_of = [](__m128i lanes) { return static_cast<unsigned>(_mm_movemask_epi8(lanes)); };
    const auto low_half = [](__m128i bytes) { return _mm_unpacklo_epi8(bytes, _mm_setzero_si128()); };
    const auto high_half = [](__m128i bytes) { return _mm_unpackhi_epi8(bytes, _mm_setzero_si128()); };
    const auto store = [](char16_t* at, __m128i units) { _mm_storeu_si128(reinterpret_cast<__m128i*>(at), units); };
    const __m128i bytes = load(0);
    const unsigned high = mask_of(bytes);
    if (high == 0) {
        store(to, low_half(bytes));
        store(to + 8, high_half(bytes));
        from += block;
        to += block;
        return true;
    }
    // One bit for each byte, the first one lowest.
    const auto at_least = [&](int least) {
        return mask_of(_mm_cmpeq_epi8(_mm_max_epu8(bytes, _mm_set1_epi8(static_cast<char>(least))), bytes));
    };
    const unsigned following = high & ~at_least(0xC0);
    const unsigned long_leads = at_least(0xC2);
    const unsigned leads_of_three = at_least(0xE0);
    const unsigned no_such_leads = (high & ~following & ~long_leads) | at_least(0xF0);
    const unsigned cut_off = (long_leads >> 15 & 1) | (leads_of_three >> 13 & 2);
    const unsigned expected = long_leads << 1 | leads_of_three << 2;
    if (no_such_leads != 0 || following != (expected & 0xFFFF)) return false;

    char16_t units[block];
    const __m128i second = load(1);
    const __m128i third = load(2);
    __m128i refused = _mm_setzero_si128();
    store(units, units_of(low_half(bytes), low_half(second), low_half(third), refused));
    store(units + 8, units_of(high_half(bytes), high_half(second), high_half(third), refused));
    if (mask_of(refused) != 0) return false;
    // All are written, and those of following bytes overwritten: a branch for each would be guessed wrong too often.
    unsigned kept = ~following & 0xFFFFu >> cut_off;
#pragma GCC unroll 16
    for (const char16_t unit : units) {
        *to = unit;
        to += kept & 1;
        kept >>= 1;
    }
    from += block - static_cast<std::ptrdiff_t>(cut_off);
    return true;
}

#else

constexpr std::ptrdiff_t block_reach = block;

bool decode_block(const std::uint8_t*& from, char16_t*& to) {
    std::uint64_t words[2];
    std::memcpy(words, from, sizeof words);
    if (((words[0] | words[1]) & 0x8080808080808080) != 0) return false; // ASCII alone, in this version
    for (int i = 0; i < block; ++i)
        *to++ = *from++;
    return true;
}

#endif

} // namespace

void decode_utf8(std::string_view bytes, std::u16string& out) {
    out.resize(bytes.size()); // no sequence has more units than bytes
    const auto* from = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto* const end = from + bytes.size();
    char16_t* to = out.data();
    while (from != end) {
        if (end - from >= block_reach && decode_block(from, to)) continue;
        // All of a refused block: to try again behind each character would look at each byte sixteen times.
        for (const auto* const behind = from + std::min(end - from, block); from < behind;)
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
