#include "platform/posix/socket_failure.h"

#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace tackle::platform {

namespace {

socket_status status_of(int result) noexcept { return result == 0 ? socket_status{} : socket_failure(errno); }

socket_status set_limit(socket_handle socket, int option, std::uint32_t milliseconds) noexcept {
    timeval limit{};
    limit.tv_sec = milliseconds / 1000;
    limit.tv_usec = milliseconds % 1000 * 1000;
    return status_of(setsockopt(descriptor(socket), SOL_SOCKET, option, &limit, sizeof limit));
}

using name_call = int (*)(int, sockaddr*, socklen_t*);

socket_status ask_address(name_call call, socket_handle socket, void* address, std::uint32_t& size) noexcept {
    socklen_t length = size;
    const socket_status status = status_of(call(descriptor(socket), static_cast<sockaddr*>(address), &length));
    size = length;
    return status;
}

} // namespace

socket_status start_sockets() noexcept { return {}; }

socket_status stop_sockets() noexcept { return {}; }

socket_status own_host_name(std::span<char> out) noexcept {
    const socket_status status = status_of(gethostname(out.data(), out.size()));
    if (!out.empty()) out.back() = '\0'; // a name that fills the room has no end of its own
    return status;
}

socket_status open_socket(int family, socket_type type, socket_handle& out) noexcept {
    const int made = socket(family, static_cast<int>(type) | SOCK_CLOEXEC, 0);
    if (made < 0) return socket_failure(errno);
    out = made;
    // Without this a refused datagram is never heard of. A system that does not know it only makes requests wait
    // longer.
    const int on = 1;
    if (type == socket_type::datagram) (void)setsockopt(made, IPPROTO_IP, IP_RECVERR, &on, sizeof on);
    return {};
}

socket_status bind_socket(socket_handle socket, const void* address, std::uint32_t size) noexcept {
    return status_of(bind(descriptor(socket), static_cast<const sockaddr*>(address), size));
}

socket_status listen_socket(socket_handle socket, int backlog) noexcept {
    return status_of(listen(descriptor(socket), backlog));
}

socket_status accept_socket(socket_handle listener, socket_handle& out) noexcept {
    for (;;) {
        const int made = accept4(descriptor(listener), nullptr, nullptr, SOCK_CLOEXEC);
        if (made >= 0) {
            out = made;
            return {};
        }
        if (errno == EINTR) continue;
        // The peer went away between the handshake and this call, or the network has lost the way to it.
        socket_status status = connection_failure(errno);
        if (status.cause == socket_cause::connection_aborted || status.cause == socket_cause::host_unreachable ||
            status.cause == socket_cause::network_unreachable)
            status.cause = socket_cause::connection_reset;
        return status;
    }
}

socket_status peer_address(socket_handle socket, void* address, std::uint32_t& size) noexcept {
    return ask_address(getpeername, socket, address, size);
}

socket_status local_address(socket_handle socket, void* address, std::uint32_t& size) noexcept {
    return ask_address(getsockname, socket, address, size);
}

socket_status max_message_size(socket_handle socket, std::uint32_t& value, std::uint32_t& size) noexcept {
    int type = 0;
    socklen_t length = sizeof type;
    if (getsockopt(descriptor(socket), SOL_SOCKET, SO_TYPE, &type, &length) != 0) return socket_failure(errno);
    value = largest_datagram;
    size = sizeof value;
    return {};
}

socket_status set_send_buffer(socket_handle socket, std::uint32_t bytes) noexcept {
    return status_of(setsockopt(descriptor(socket), SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes));
}

socket_status set_receive_timeout(socket_handle socket, std::uint32_t milliseconds) noexcept {
    return set_limit(socket, SO_RCVTIMEO, milliseconds);
}

socket_status set_send_timeout(socket_handle socket, std::uint32_t milliseconds) noexcept {
    return set_limit(socket, SO_SNDTIMEO, milliseconds);
}

socket_status shutdown_send(socket_handle socket) noexcept { return status_of(shutdown(descriptor(socket), SHUT_WR)); }

socket_status close_socket(socket_handle socket, std::atomic<std::uint32_t>& calls) noexcept {
    // close() wakes nobody, and the number may belong to another socket a moment later; so first end what is under way.
    // Shutting down does, even where it reports that there is no connection.
    while (const std::uint32_t under_way = calls.load()) {
        (void)shutdown(descriptor(socket), SHUT_RDWR);
        calls.wait(under_way);
    }
    return close(descriptor(socket)) == 0 || errno == EINTR ? socket_status{} : socket_failure(errno);
}

} // namespace tackle::platform
