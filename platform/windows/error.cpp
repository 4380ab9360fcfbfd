#include "platform/error.h"

#include <windows.h>

namespace tackle::platform {

std::uint32_t last_error() noexcept { return GetLastError(); }

} // namespace tackle::platform
