#include "community/wire/rc4.h"

#include <numeric>
#include <utility>

namespace brimwarden::analysis::community {

rc4::rc4(tackle::string_view key) {
    std::iota(state_.begin(), state_.end(), std::uint8_t{0});
    std::uint8_t other = 0;
    for (std::size_t i = 0; i < state_.size(); ++i) {
        other = static_cast<std::uint8_t>(other + state_[i] + static_cast<std::uint8_t>(key[i % key.size()]));
        std::swap(state_[i], state_[other]);
    }
}

void rc4::discard(std::size_t count) {
    while (count-- > 0)
        (void)next();
}

void rc4::apply(tackle::string& text) {
    for (char& byte : text)
        byte = static_cast<char>(byte ^ next());
}

} // namespace brimwarden::analysis::community
