#pragma once

#include <cstdint>

namespace tackle::platform {

// The platform's number for why the last failing call of this folder failed, on the calling thread: GetLastError or
// errno. Good only directly behind that call. The numbers of the two targets have nothing in common but 0.
[[nodiscard]] std::uint32_t last_error() noexcept;

} // namespace tackle::platform
