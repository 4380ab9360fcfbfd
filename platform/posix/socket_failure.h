#pragma once

#include "platform/socket.h"

// What the socket files of this system share.
namespace tackle::platform {

// The meaning of an error number.
[[nodiscard]] socket_status socket_failure(int number) noexcept;

[[nodiscard]] inline int descriptor(socket_handle socket) noexcept { return static_cast<int>(socket); }

} // namespace tackle::platform
