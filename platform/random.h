#pragma once

#include <cstddef>
#include <span>

namespace tackle::platform {

// Fills all of `out` with bytes that nobody can predict; any thread. False if the system refused: `out` is then no use.
[[nodiscard]] bool fill_random(std::span<std::byte> out) noexcept;

} // namespace tackle::platform
