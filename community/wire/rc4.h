#pragma once

#include "foundation/text/text.h"
#include "foundation/text/wipe.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace brimwarden::analysis::community {

// The RC4 key stream, which the wire format prescribes. It keeps casual readers out and no determined one.
class rc4 final {
public:
    explicit rc4(tackle::string_view key); // not empty; bytes behind the 256th do not count
    ~rc4() { tackle::wipe(state_.data(), state_.size()); }
    rc4(const rc4&) = delete;
    rc4& operator=(const rc4&) = delete;

    void discard(std::size_t count);  // throws that many bytes of the stream away
    void apply(tackle::string& text); // enciphers or deciphers in place, which is the same

private:
    [[nodiscard]] std::uint8_t next() {
        const std::uint8_t a = state_[++i_];
        const std::uint8_t b = state_[j_ = static_cast<std::uint8_t>(j_ + a)];
        state_[i_] = b;
        state_[j_] = a;
        return state_[static_cast<std::uint8_t>(a + b)];
    }

    std::array<std::uint8_t, 256> state_;
    std::uint8_t i_ = 0; // both wrap by their type
    std::uint8_t j_ = 0;
};

} // namespace brimwarden::analysis::community
