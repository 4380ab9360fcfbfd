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
    case EAGAIN:      // how a blocking call says that its time is over,
    case EINPROGRESS: // and how connect() does
    case ETIMEDOUT:
        return socket_cause::timed_out;
    case EMSGSIZE:
        return socket_cause::message_too_long;
    default:
        return socket_cause::other;
    }
}

// Not here, for they can only be the program's own: EBADF, ENOTSOCK, EFAULT, EINVAL, EDESTADDRREQ, EISCONN, EALREADY,
// EAFNOSUPPORT, EPROTOTYPE.
socket_cause connection_cause(int number) noexcept {
    switch (number) {
    case ENETDOWN:
        return socket_cause::network_unreachable;
    case EPERM:       // a firewall of this machine,
    case EACCES:      // or its route or policy; from elsewhere a prohibition comes as EHOSTUNREACH
    case ENOPROTOOPT: // ICMP: protocol unreachable,
    case EOPNOTSUPP:  // source route failed,
    case ENONET:      // source host isolated,
    case EPROTO:      // parameter problem,
    case EMSGSIZE:    // or no segment is small enough for a link
        return socket_cause::host_unreachable;
    case EADDRNOTAVAIL: // connect() has no port left
    case ENOBUFS:
    case ENOMEM:
        return socket_cause::no_resources;
    default:
        return cause_of(number);
    }
}

} // namespace

socket_status socket_failure(int number) noexcept { return {cause_of(number), static_cast<std::uint32_t>(number)}; }

socket_status connection_failure(int number) noexcept {
    return {connection_cause(number), static_cast<std::uint32_t>(number)};
}

} // namespace tackle::platform
