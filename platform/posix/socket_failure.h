#pragma once

#include "platform/socket.h"

// What the socket files of this system share.
namespace tackle::platform {

// The meaning of an error number.
[[nodiscard]] socket_status socket_failure(int number) noexcept;

// The same for the calls of a connection, where it may be the network's or the peer's word. The number depends on which
// router, firewall or kernel says it, and on when; none of that is the program's own failure.
[[nodiscard]] socket_status connection_failure(int number) noexcept;

// Bytes: what the length field of IPv4 leaves after both headers; the system has no call for it.
inline constexpr std::uint32_t largest_datagram = 65507;

[[nodiscard]] inline int descriptor(socket_handle socket) noexcept { return static_cast<int>(socket); }

} // namespace tackle::platform
