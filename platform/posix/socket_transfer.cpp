#include "platform/posix/socket_failure.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <linux/errqueue.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace tackle::platform {

namespace {

// A complete address is refused as invalid where its route is a black hole.
socket_status connect_failure(int number) noexcept {
    if (number != EINVAL) return connection_failure(number);
    return {socket_cause::network_unreachable, static_cast<std::uint32_t>(number)};
}

} // namespace

// connect() that a signal broke off goes on by itself; a second call would only say that the first one is under way.
socket_status connect_socket(socket_handle socket, const void* address, std::uint32_t size) noexcept {
    if (connect(descriptor(socket), static_cast<const sockaddr*>(address), size) == 0) return {};
    if (errno != EINTR) return connect_failure(errno);
    pollfd ready{descriptor(socket), POLLOUT, 0};
    while (poll(&ready, 1, -1) < 0)
        if (errno != EINTR) return socket_failure(errno);
    int outcome = 0;
    socklen_t length = sizeof outcome;
    if (getsockopt(descriptor(socket), SOL_SOCKET, SO_ERROR, &outcome, &length) != 0) return socket_failure(errno);
    return outcome == 0 ? socket_status{} : connect_failure(outcome);
}

namespace {

// Answers of the network to earlier datagrams come out of whatever call is next on the socket, of any thread, and the
// same numbers can mean this call. What is still there after a few tries is this call's own.
constexpr int own_failure_tries = 4;

bool comes_from_the_network(int number) noexcept {
    switch (number) {
    case ECONNREFUSED:
    case EHOSTUNREACH:
    case EHOSTDOWN:
    case ENETUNREACH:
    case ENOPROTOOPT:
    case EPROTO:
    case EOPNOTSUPP:
    case EACCES:
    case ENONET:
    case EMSGSIZE:
        return true;
    default:
        return false;
    }
}

// Numbers by which this machine says that it does not take a datagram.
bool not_taken(int number) noexcept {
    switch (number) {
    case ENOBUFS: // a full queue; without IP_RECVERR nobody hears of it
    case ENOMEM:
    case EPERM: // a firewall
    case ENETDOWN:
    case EINVAL: // a route that is a black hole
        return true;
    default:
        return comes_from_the_network(number); // no route, a route that prohibits, a neighbour that does not answer
    }
}

// Takes the oldest answer of the network that waits on the socket. False if there is none.
bool take_refusal(int socket, void* address, std::uint32_t size, transfer& out) noexcept {
    for (;;) {
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(sock_extended_err) + sizeof(sockaddr_in6))];
        sockaddr_in asked{};
        msghdr message{};
        message.msg_name = &asked;
        message.msg_namelen = sizeof asked;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        if (recvmsg(socket, &message, MSG_ERRQUEUE | MSG_DONTWAIT) < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        const cmsghdr* about = CMSG_FIRSTHDR(&message);
        if (about == nullptr || about->cmsg_level != IPPROTO_IP || about->cmsg_type != IP_RECVERR) continue;
        sock_extended_err report{};
        __builtin_memcpy(&report, CMSG_DATA(about), sizeof report);
        if (report.ee_origin != SO_EE_ORIGIN_ICMP) continue; // our own send has failed by itself already
        if (message.msg_namelen == sizeof asked && size >= sizeof asked)
            __builtin_memcpy(address, &asked, sizeof asked);
        out.status = socket_failure(static_cast<int>(report.ee_errno));
        if (report.ee_errno == ECONNREFUSED) out.status.cause = socket_cause::connection_reset;
        return true;
    }
}

enum class readiness : std::uint8_t { data, refusal, closing, too_late, failed };

std::int64_t now_ns() noexcept {
    timespec moment{};
    clock_gettime(CLOCK_MONOTONIC, &moment);
    return std::int64_t{moment.tv_sec} * 1'000'000'000 + moment.tv_nsec;
}

// Waits for an event, a refusal included, for as long as the socket's own limit allows. It counts from the beginning of
// the call: a program whose timer hits this thread again and again must get to its end, too.
readiness wait_for(int socket, short event, std::int64_t began_ns) noexcept {
    timeval limit{};
    socklen_t length = sizeof limit;
    const int option = event == POLLIN ? SO_RCVTIMEO : SO_SNDTIMEO;
    if (getsockopt(socket, SOL_SOCKET, option, &limit, &length) != 0) return readiness::failed;
    const std::int64_t limit_ns = std::int64_t{limit.tv_sec} * 1'000'000'000 + std::int64_t{limit.tv_usec} * 1000;
    const std::int64_t left_ms = (std::max<std::int64_t>(limit_ns - (now_ns() - began_ns), 0) + 999'999) / 1'000'000;
    // Beyond poll's range, 24 days, is as good as no limit.
    const bool limited = limit_ns > 0 && left_ms <= 0x7FFFFFFF;
    // poll() calls a stream writable when a third of its buffer is free, but a send takes bytes as soon as there is any
    // room: so it is tried now and then, or a slow peer would be taken for one that reads nothing.
    constexpr std::int64_t send_again_ms = 500;
    const std::int64_t wait_ms = event == POLLOUT ? std::min(left_ms, send_again_ms) : left_ms;
    pollfd ready{socket, event, 0};
    const int got = poll(&ready, 1, limited ? static_cast<int>(wait_ms) : -1);
    if (got == 0) return wait_ms < left_ms ? readiness::data : readiness::too_late;
    if (got < 0) return errno == EINTR ? readiness::data : readiness::failed;
    if ((ready.revents & POLLERR) != 0) return readiness::refusal;
    // A datagram socket hangs up only when close_socket has shut it down; a stream tells more in the next receive.
    return (ready.revents & (POLLHUP | POLLNVAL)) != 0 ? readiness::closing : readiness::data;
}

} // namespace

transfer send_to(socket_handle socket, const void* address, std::uint32_t size, const void* bytes,
                 std::size_t count) noexcept {
    for (int tries = 1;;) {
        const ssize_t sent =
            sendto(descriptor(socket), bytes, count, MSG_NOSIGNAL, static_cast<const sockaddr*>(address), size);
        if (sent >= 0) return {{}, static_cast<std::size_t>(sent), 0};
        if (errno == EINTR || errno == ECONNREFUSED) continue; // never this datagram's: it has not gone yet
        if (comes_from_the_network(errno) && tries++ < own_failure_tries) continue;
        if (not_taken(errno) && count <= largest_datagram) return {{}, count, 0};
        return {socket_failure(errno), 0, 0};
    }
}

transfer receive_from(socket_handle socket, void* address, std::uint32_t size, void* out, std::size_t room) noexcept {
    const std::int64_t began_ns = now_ns();
    for (;;) {
        iovec block{out, room};
        msghdr message{};
        message.msg_name = address;
        message.msg_namelen = size;
        message.msg_iov = &block;
        message.msg_iovlen = 1;
        const ssize_t got = recvmsg(descriptor(socket), &message, MSG_DONTWAIT);
        transfer done{{}, 0, message.msg_namelen};
        if (got >= 0) {
            done.count = static_cast<std::size_t>(got);
            // A datagram always has a sender; nothing from nobody means that the socket is being closed.
            if (message.msg_namelen == 0) done.status = {socket_cause::not_a_socket, EBADF};
            if ((message.msg_flags & MSG_TRUNC) != 0) done.status = {socket_cause::message_too_long, EMSGSIZE};
            return done;
        }
        if (errno == EINTR) continue;
        // A refusal leaves its report on the socket, whichever thread has got the number of it.
        auto ready = readiness::refusal;
        if (errno == EAGAIN)
            ready = wait_for(descriptor(socket), POLLIN, began_ns);
        else if (!comes_from_the_network(errno))
            ready = readiness::failed;
        if (ready == readiness::refusal && take_refusal(descriptor(socket), address, size, done)) return done;
        if (ready == readiness::failed) return {socket_failure(errno), 0, 0};
        if (ready == readiness::closing) return {socket_failure(EBADF), 0, 0};
        if (ready == readiness::too_late) return {socket_failure(ETIMEDOUT), 0, 0};
    }
}

transfer send(socket_handle socket, const void* bytes, std::size_t count) noexcept {
    const std::int64_t began_ns = now_ns();
    for (bool too_late = false;;) {
        const ssize_t sent = ::send(descriptor(socket), bytes, count, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) return {{}, static_cast<std::size_t>(sent), 0};
        if (errno == EINTR) continue;
        if (errno != EAGAIN) return {connection_failure(errno), 0, 0};
        if (too_late) return {socket_failure(ETIMEDOUT), 0, 0};
        const auto ready = wait_for(descriptor(socket), POLLOUT, began_ns);
        if (ready == readiness::failed) return {socket_failure(errno), 0, 0};
        too_late = ready == readiness::too_late;
    }
}

transfer receive(socket_handle socket, void* out, std::size_t room) noexcept {
    const std::int64_t began_ns = now_ns();
    for (int flags = 0;;) {
        const ssize_t got = recv(descriptor(socket), out, room, flags);
        if (got >= 0) return {{}, static_cast<std::size_t>(got), 0};
        if (errno == EINTR)
            flags = MSG_DONTWAIT; // from here on the waiting is ours: a blocking call would get its whole limit again
        else if (errno != EAGAIN || flags == 0)
            return {connection_failure(errno), 0, 0};
        const auto ready = wait_for(descriptor(socket), POLLIN, began_ns);
        if (ready == readiness::failed) return {socket_failure(errno), 0, 0};
        if (ready == readiness::too_late) return {socket_failure(ETIMEDOUT), 0, 0};
    }
}

} // namespace tackle::platform
