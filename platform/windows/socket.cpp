#include "platform/socket.h"

#include <winsock2.h>
#include <ws2tcpip.h>

namespace tackle::platform {

namespace {

socket_cause cause_of(int number) noexcept {
    switch (number) {
    case WSANOTINITIALISED:
        return socket_cause::not_started;
    case WSASYSNOTREADY:
        return socket_cause::not_ready;
    case WSAVERNOTSUPPORTED:
        return socket_cause::version_not_supported;
    case WSAENETDOWN:
        return socket_cause::network_down;
    case WSAENOTSOCK:
        return socket_cause::not_a_socket;
    case WSAEINTR:
        return socket_cause::interrupted;
    case WSAEADDRINUSE:
        return socket_cause::address_in_use;
    case WSAEADDRNOTAVAIL:
        return socket_cause::address_not_valid;
    case WSAENETUNREACH:
        return socket_cause::network_unreachable;
    case WSAEHOSTUNREACH:
        return socket_cause::host_unreachable;
    case WSAECONNREFUSED:
        return socket_cause::connection_refused;
    case WSAECONNABORTED:
        return socket_cause::connection_aborted;
    case WSAECONNRESET:
        return socket_cause::connection_reset;
    case WSAENETRESET:
        return socket_cause::network_reset;
    case WSAENOTCONN:
        return socket_cause::not_connected;
    case WSAESHUTDOWN:
        return socket_cause::shut_down;
    case WSAETIMEDOUT:
        return socket_cause::timed_out;
    case WSAEMSGSIZE:
        return socket_cause::message_too_long;
    default:
        return socket_cause::other;
    }
}

socket_status failure(int number) noexcept { return {cause_of(number), static_cast<std::uint32_t>(number)}; }

// For the calls of a connection, where the number may be the network's or the peer's word. Which one it is depends on
// the router, the firewall and the system that says it; none of that is the program's own failure. Not here, for they
// can only be the program's own: WSAEFAULT, WSAEINVAL, WSAEISCONN, WSAEALREADY, WSAEAFNOSUPPORT, WSAEPROTOTYPE,
// WSAEWOULDBLOCK, WSAEINPROGRESS.
socket_status connection_failure(int number) noexcept {
    const auto status = [number](socket_cause cause) -> socket_status {
        return {cause, static_cast<std::uint32_t>(number)};
    };
    switch (number) {
    case WSAENETDOWN:
        return status(socket_cause::network_unreachable);
    case WSAEACCES: // a firewall of this machine
    case WSAEHOSTDOWN:
    case WSAENOPROTOOPT: // ICMP: protocol unreachable,
    case WSAEOPNOTSUPP:  // source route failed,
    case WSAEMSGSIZE:    // or no segment is small enough for a link
        return status(socket_cause::host_unreachable);
    case WSAEDISCON:
        return status(socket_cause::shut_down);
    case WSAENOBUFS: // connect: no port left, among others
    case WSA_NOT_ENOUGH_MEMORY:
        return status(socket_cause::no_resources);
    default:
        return failure(number);
    }
}

socket_status connection_status_of(int result) noexcept {
    return result == 0 ? socket_status{} : connection_failure(WSAGetLastError());
}

socket_status status_of(int result) noexcept { return result == 0 ? socket_status{} : failure(WSAGetLastError()); }

transfer transferred(int result) noexcept {
    if (result == SOCKET_ERROR) return {failure(WSAGetLastError()), 0, 0};
    return {{}, static_cast<std::size_t>(result), 0};
}

transfer over_connection(int result) noexcept {
    if (result == SOCKET_ERROR) return {connection_failure(WSAGetLastError()), 0, 0};
    return {{}, static_cast<std::size_t>(result), 0};
}

SOCKET native(socket_handle socket) noexcept { return static_cast<SOCKET>(socket); }

// The calls take their lengths as int; whoever sends more goes round again.
int length_of(std::size_t count) noexcept { return count > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(count); }

socket_status made(SOCKET socket, socket_handle& out) noexcept {
    if (socket == INVALID_SOCKET) return failure(WSAGetLastError());
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
    out = static_cast<socket_handle>(socket);
    return {};
}

using name_call = int(WSAAPI*)(SOCKET, sockaddr*, int*);

socket_status ask_address(name_call call, socket_handle socket, void* address, std::uint32_t& size) noexcept {
    int length = static_cast<int>(size);
    const socket_status status = status_of(call(native(socket), static_cast<sockaddr*>(address), &length));
    size = static_cast<std::uint32_t>(length);
    return status;
}

socket_status set_option(socket_handle socket, int option, std::uint32_t value) noexcept {
    return status_of(
        setsockopt(native(socket), SOL_SOCKET, option, reinterpret_cast<const char*>(&value), sizeof value));
}

} // namespace

socket_status start_sockets() noexcept {
    WSADATA ignored{};
    const int result = WSAStartup(0x0101, &ignored);
    return result == 0 ? socket_status{} : failure(result);
}

socket_status stop_sockets() noexcept { return status_of(WSACleanup()); }

socket_status own_host_name(std::span<char> out) noexcept {
    return status_of(gethostname(out.data(), length_of(out.size())));
}

socket_status open_socket(int family, socket_type type, socket_handle& out) noexcept {
    return made(socket(family, static_cast<int>(type), 0), out);
}

socket_status bind_socket(socket_handle socket, const void* address, std::uint32_t size) noexcept {
    return status_of(bind(native(socket), static_cast<const sockaddr*>(address), static_cast<int>(size)));
}

socket_status listen_socket(socket_handle socket, int backlog) noexcept {
    return status_of(listen(native(socket), backlog));
}

socket_status connect_socket(socket_handle socket, const void* address, std::uint32_t size) noexcept {
    return connection_status_of(connect(native(socket), static_cast<const sockaddr*>(address), static_cast<int>(size)));
}

socket_status accept_socket(socket_handle listener, socket_handle& out) noexcept {
    return made(accept(native(listener), nullptr, nullptr), out);
}

socket_status peer_address(socket_handle socket, void* address, std::uint32_t& size) noexcept {
    return ask_address(getpeername, socket, address, size);
}

socket_status local_address(socket_handle socket, void* address, std::uint32_t& size) noexcept {
    return ask_address(getsockname, socket, address, size);
}

socket_status max_message_size(socket_handle socket, std::uint32_t& value, std::uint32_t& size) noexcept {
    int length = sizeof value;
    const socket_status status =
        status_of(getsockopt(native(socket), SOL_SOCKET, SO_MAX_MSG_SIZE, reinterpret_cast<char*>(&value), &length));
    size = static_cast<std::uint32_t>(length);
    return status;
}

socket_status set_send_buffer(socket_handle socket, std::uint32_t bytes) noexcept {
    return set_option(socket, SO_SNDBUF, bytes);
}

socket_status set_receive_timeout(socket_handle socket, std::uint32_t milliseconds) noexcept {
    return set_option(socket, SO_RCVTIMEO, milliseconds);
}

socket_status set_send_timeout(socket_handle socket, std::uint32_t milliseconds) noexcept {
    return set_option(socket, SO_SNDTIMEO, milliseconds);
}

socket_status shutdown_send(socket_handle socket) noexcept {
    return connection_status_of(shutdown(native(socket), SD_SEND));
}

socket_status close_socket(socket_handle socket, std::atomic<std::uint32_t>& calls) noexcept {
    // closesocket() should end what is under way, and not every system that runs these programs does so. A call that is
    // only about to begin is not there yet to be cancelled, so ask again; it is a matter of a few instructions.
    for (int tries = 0; calls.load() != 0 && tries < 100; ++tries) {
        CancelIoEx(reinterpret_cast<HANDLE>(socket), nullptr);
        Sleep(tries == 0 ? 0 : 1);
    }
    return status_of(closesocket(native(socket)));
}

transfer send_to(socket_handle socket, const void* address, std::uint32_t size, const void* bytes,
                 std::size_t count) noexcept {
    return transferred(sendto(native(socket), static_cast<const char*>(bytes), length_of(count), 0,
                              static_cast<const sockaddr*>(address), static_cast<int>(size)));
}

transfer receive_from(socket_handle socket, void* address, std::uint32_t size, void* out, std::size_t room) noexcept {
    int length = static_cast<int>(size);
    transfer done = transferred(recvfrom(native(socket), static_cast<char*>(out), length_of(room), 0,
                                         static_cast<sockaddr*>(address), &length));
    done.address_size = static_cast<std::uint32_t>(length);
    return done;
}

transfer send(socket_handle socket, const void* bytes, std::size_t count) noexcept {
    return over_connection(::send(native(socket), static_cast<const char*>(bytes), length_of(count), 0));
}

transfer receive(socket_handle socket, void* out, std::size_t room) noexcept {
    return over_connection(recv(native(socket), static_cast<char*>(out), length_of(room), 0));
}

} // namespace tackle::platform
