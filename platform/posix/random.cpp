#include "platform/random.h"

#include <cerrno>
#include <sys/random.h>

namespace tackle::platform {

bool fill_random(std::span<std::byte> out) noexcept {
    while (!out.empty()) {
        const ssize_t got = getrandom(out.data(), out.size(), 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        out = out.subspan(static_cast<std::size_t>(got)); // a signal cuts a request above 256 bytes short
    }
    return true;
}

} // namespace tackle::platform
