#include "platform/posix/socket_failure.h"

#include <cerrno>

namespace tackle::platform {

namespace {

socket_cause cause_of(int number) noexcept {
    switch (number) {
    case ENETDOWN:
        return socket_cause::network_down;
    case ENOTSOCK:
    case EBADF:
        return socket_cause::not_a_socket;
    case EADDRINUSE:
        return socket_cause::address_in_use;
    case EADDRNOTAVAIL:
        return socket_cause::address_not_valid;
    case ENETUNREACH:
        return socket_cause::network_unreachable;
    case EHOSTUNREACH:
    case EHOSTDOWN:
        return socket_cause::host_unreachable;
    case ECONNREFUSED:
        return socket_cause::connection_refused;
    case ECONNABORTED:
        return socket_cause::connection_aborted;
    case ECONNRESET:
        return socket_cause::connection_reset;
    case ENETRESET:
        return socket_cause::network_reset;
    case ENOTCONN:
        return socket_cause::not_connected;
    case EPIPE:
    case ESHUTDOWN:
        return socket_cause::shut_down;
    case EAGAIN: // how a blocking call says that its time is over
    case ETIMEDOUT:
        return socket_cause::timed_out;
    case EMSGSIZE:
        return socket_cause::message_too_long;
    default:
        return socket_cause::other;
    }
}

} // namespace

socket_status socket_failure(int number) noexcept { return {cause_of(number), static_cast<std::uint32_t>(number)}; }

} // namespace tackle::platform
