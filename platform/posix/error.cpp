#include "platform/error.h"

#include <cerrno>

namespace tackle::platform {

std::uint32_t last_error() noexcept { return static_cast<std::uint32_t>(errno); }

} // namespace tackle::platform
