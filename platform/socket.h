#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// The system's sockets, IPv4 and blocking. Nothing here raises; each call hands back what went wrong as a meaning and
// as the system's own number. A call that a signal interrupts goes on.
namespace tackle::platform {

using socket_handle = std::intptr_t;
inline constexpr socket_handle no_socket = -1;
using raw_address = std::array<std::uint8_t, 16>; // as socket calls take it, the same layout on every target

enum class socket_cause : std::uint8_t {
    none, // all went well
    not_started,
    network_down,
    not_a_socket,
    interrupted,
    address_in_use,
    address_not_valid,
    network_unreachable,
    host_unreachable,
    connection_refused,
    connection_aborted,
    connection_reset, // on a datagram socket: nobody listens at an address that was written to
    network_reset,
    not_connected,
    shut_down,
    timed_out,
    message_too_long,
    no_resources, // this machine is short of memory, buffers or ports for the connection
    not_ready,
    version_not_supported,
    other,
};

struct socket_status {
    socket_cause cause = socket_cause::none;
    std::uint32_t number = 0; // the system's own, for texts
    [[nodiscard]] bool failed() const noexcept { return cause != socket_cause::none; }
};

struct transfer {
    socket_status status;
    std::size_t count = 0;          // bytes that went or came
    std::uint32_t address_size = 0; // of the sender, from receive_from alone
};

enum class socket_type : std::uint8_t { stream = 1, datagram = 2 };

// The layer counts its users where the system asks for that; every start needs its stop.
[[nodiscard]] socket_status start_sockets() noexcept;
[[nodiscard]] socket_status stop_sockets() noexcept;
[[nodiscard]] socket_status own_host_name(std::span<char> out) noexcept; // terminated

[[nodiscard]] socket_status open_socket(int family, socket_type type, socket_handle& out) noexcept;
[[nodiscard]] socket_status bind_socket(socket_handle socket, const void* address, std::uint32_t size) noexcept;
[[nodiscard]] socket_status listen_socket(socket_handle socket, int backlog) noexcept;
[[nodiscard]] socket_status connect_socket(socket_handle socket, const void* address, std::uint32_t size) noexcept;
[[nodiscard]] socket_status accept_socket(socket_handle listener, socket_handle& out) noexcept;
// `size` is the room at `address`, and then what the system would have written there.
[[nodiscard]] socket_status peer_address(socket_handle socket, void* address, std::uint32_t& size) noexcept;
[[nodiscard]] socket_status local_address(socket_handle socket, void* address, std::uint32_t& size) noexcept;
// The largest datagram in bytes; `size` is the length of the system's answer, 4 if all is well.
[[nodiscard]] socket_status max_message_size(socket_handle socket, std::uint32_t& value, std::uint32_t& size) noexcept;
[[nodiscard]] socket_status set_send_buffer(socket_handle socket, std::uint32_t bytes) noexcept;
// Limits every later receive; 0 for no limit.
[[nodiscard]] socket_status set_receive_timeout(socket_handle socket, std::uint32_t milliseconds) noexcept;
// Limits every later send in the same way: it fails if the system has not taken the bytes by then. On Linux it fails only
// if not one byte was taken; on Windows all of them have to be, so who wants to see progress sends in small pieces.
[[nodiscard]] socket_status set_send_timeout(socket_handle socket, std::uint32_t milliseconds) noexcept;
[[nodiscard]] socket_status shutdown_send(socket_handle socket) noexcept;
// Ends the calls that other threads have under way on this socket, with any failure. `calls` counts them: the caller
// has made sure that it can only fall, and whoever takes it to zero calls its notify_all. The handle is gone after
// this.
[[nodiscard]] socket_status close_socket(socket_handle socket, std::atomic<std::uint32_t>& calls) noexcept;

// Sends one datagram. What became of datagrams sent earlier is for receive_from and never fails a later one. On Linux a
// datagram that this machine does not take, as a full queue or a firewall does, is lost like one on the way: a success.
[[nodiscard]] transfer send_to(socket_handle socket, const void* address, std::uint32_t size, const void* bytes,
                               std::size_t count) noexcept;
// Waits for one datagram. Where the system tells that an earlier datagram could not be delivered, that is a failure of
// this call, and `address` names who was written to.
[[nodiscard]] transfer receive_from(socket_handle socket, void* address, std::uint32_t size, void* out,
                                    std::size_t room) noexcept;
// May send fewer bytes than given.
[[nodiscard]] transfer send(socket_handle socket, const void* bytes, std::size_t count) noexcept;
[[nodiscard]] transfer receive(socket_handle socket, void* out, std::size_t room) noexcept; // count 0: the peer's end

} // namespace tackle::platform
