#include "server/knowledge/identity.h"

#include <bit>
#include <cstddef>
#include <string>

namespace brimwarden::server::knowledge {

namespace {

std::uint64_t little_endian(const std::uint8_t* bytes, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
        value |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
    return value;
}

struct sip_state {
    std::uint64_t v0, v1, v2, v3;

    void round() {
        v0 += v1;
        v2 += v3;
        v1 = std::rotl(v1, 13) ^ v0;
        v3 = std::rotl(v3, 16) ^ v2;
        v0 = std::rotl(v0, 32);
        v2 += v1;
        v0 += v3;
        v1 = std::rotl(v1, 17) ^ v2;
        v3 = std::rotl(v3, 21) ^ v0;
        v2 = std::rotl(v2, 32);
    }
    void word(std::uint64_t value) {
        v3 ^= value;
        round();
        round();
        v0 ^= value;
    }
};

} // namespace

std::uint64_t keyed_hash(const identity_key& key, std::string_view text) {
    const std::uint64_t k0 = little_endian(key.data(), 8);
    const std::uint64_t k1 = little_endian(key.data() + 8, 8);
    sip_state state{k0 ^ 0x736f6d6570736575, k1 ^ 0x646f72616e646f6d, k0 ^ 0x6c7967656e657261, k1 ^ 0x7465646279746573};
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    std::size_t left = text.size();
    for (; left >= 8; left -= 8, bytes += 8)
        state.word(little_endian(bytes, 8));
    state.word(little_endian(bytes, left) | static_cast<std::uint64_t>(text.size()) << 56);
    state.v2 ^= 0xFF;
    for (int i = 0; i < 4; ++i)
        state.round();
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

identity identify(const identity_key& key, analysis::community::signature_code code, std::string_view value) {
    std::string named(1, static_cast<char>(code));
    named += value;
    return keyed_hash(key, named) >> 1;
}

std::uint64_t mailbox_hash(const identity_key& key, std::uint32_t mailbox) {
    return keyed_hash(key, "mailbox " + std::to_string(mailbox));
}

} // namespace brimwarden::server::knowledge
