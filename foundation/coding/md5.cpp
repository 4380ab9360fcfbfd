#include "foundation/coding/md5.h"

#include "foundation/coding/coding.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace tackle::coding {
namespace {

constexpr std::uint32_t constants[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501, //
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821, //
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8, //
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A, //
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70, //
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665, //
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1, //
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};
constexpr int shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

std::uint32_t load_word(const char* bytes) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap32(word);
    return word;
}

// Step `i` of the 64 that a block takes. The four words change places from step to step instead of being moved.
// The time of the whole digest is that of the chain from the word made by one step, here b, to the next; whatever does
// not need b is therefore added up first.
template <std::size_t i>
inline void step(std::uint32_t (&state)[4], const char* block) {
    constexpr std::size_t word[4] = {i, 5 * i + 1, 3 * i + 5, 7 * i};
    auto& a = state[(64 - i) % 4];
    const auto b = state[(65 - i) % 4];
    const auto c = state[(66 - i) % 4];
    const auto d = state[(67 - i) % 4];
    a += constants[i] + load_word(block + word[i / 16] % 16 * 4);
    if constexpr (i / 16 == 0) {
        a += ((c ^ d) & b) ^ d;
    } else if constexpr (i / 16 == 1) {
        a += c & ~d; // added apart and not by "or": the two have no bit in common
        a += b & d;
    } else if constexpr (i / 16 == 2) {
        a += (c ^ d) ^ b;
    } else {
        a += (b | ~d) ^ c;
    }
    a = std::rotl(a, shifts[i / 16][i % 4]) + b;
}

template <std::size_t... i>
inline void all_steps(std::uint32_t (&state)[4], const char* block, std::index_sequence<i...>) {
    (step<i>(state, block), ...);
}

void add_blocks(std::array<std::uint32_t, 4>& total, const char* blocks, std::size_t count) {
    std::uint32_t state[4] = {total[0], total[1], total[2], total[3]};
    for (; count != 0; --count, blocks += 64) {
        const std::uint32_t before[4] = {state[0], state[1], state[2], state[3]};
        all_steps(state, blocks, std::make_index_sequence<64>());
        for (int i = 0; i < 4; ++i)
            state[i] += before[i];
    }
    std::copy(std::begin(state), std::end(state), total.begin());
}

} // namespace

void md5::update(string_view bytes) {
    const auto pending = static_cast<std::size_t>(length_ % block_size);
    length_ += bytes.size();
    if (pending != 0) {
        const auto taken = std::min(block_size - pending, bytes.size());
        std::copy_n(bytes.data(), taken, pending_.data() + pending);
        bytes.remove_prefix(taken);
        if (pending + taken != block_size) return;
        add_blocks(state_, pending_.data(), 1);
    }
    add_blocks(state_, bytes.data(), bytes.size() / block_size);
    const auto rest = bytes.size() % block_size;
    std::copy_n(bytes.data() + (bytes.size() - rest), rest, pending_.data());
}

string md5::finish() {
    char digest[digest_size];
    finish(digest);
    return {digest, digest_size};
}

void md5::finish(char (&digest)[digest_size]) {
    constexpr auto length_at = block_size - sizeof length_;
    const auto bits = length_ * 8; // of a text beyond 2^61 bytes only the low 64 bits count, as the algorithm has it
    const auto pending = static_cast<std::size_t>(length_ % block_size);
    char last[2 * block_size] = {};
    std::copy_n(pending_.data(), pending, last);
    last[pending] = '\x80';
    const std::size_t blocks = pending < length_at ? 1 : 2;
    for (std::size_t i = 0; i < sizeof bits; ++i)
        last[(blocks - 1) * block_size + length_at + i] = static_cast<char>(bits >> 8 * i);
    add_blocks(state_, last, blocks);

    char* to = digest;
    for (const auto word : state_)
        for (int shift = 0; shift < 32; shift += 8)
            *to++ = static_cast<char>(word >> shift);
    *this = md5();
}

string md5_digest(string_view bytes) {
    md5 digest;
    digest.update(bytes);
    return digest.finish();
}

string md5_base64(string_view digest) { return translate::base64_encode(digest, false); }

} // namespace tackle::coding
