#pragma once

#include "foundation/text/text.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace tackle::coding {

// The MD5 digest, RFC 1321. Broken as a seal against forgery; here it only names content. A value: a copy goes on from
// the same bytes. Raises nothing but std::bad_alloc of the string returned.
class md5 {
public:
    // Adds bytes. The digest of a text is the same however the text is cut into updates.
    void update(string_view bytes);
    static constexpr std::size_t digest_size = 16;

    // The digest of all bytes so far as 16 raw bytes. The object then starts anew, as if just made.
    [[nodiscard]] string finish();
    // The same without a text for it.
    void finish(char (&digest)[digest_size]);

private:
    static constexpr std::size_t block_size = 64;

    std::array<std::uint32_t, 4> state_ = initial_state;
    std::uint64_t length_ = 0; // bytes so far; those behind the last full block stand in pending_
    std::array<char, block_size> pending_{};

    static constexpr std::array<std::uint32_t, 4> initial_state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
};

// The 16 raw bytes of the digest of a text.
[[nodiscard]] string md5_digest(string_view bytes);
// A raw digest in base64 without padding: 22 characters.
[[nodiscard]] string md5_base64(string_view digest);

} // namespace tackle::coding
