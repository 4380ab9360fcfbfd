#include "server/listen/datagrams.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <netinet/in.h>
#include <new>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace brimwarden::server::listen {

namespace {

constexpr unsigned at_once = 32;
constexpr std::size_t largest = 2048; // clients change to connections at 512 bytes
constexpr std::size_t control_size = CMSG_SPACE(sizeof(in_pktinfo));

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

sockaddr_in system_address(const address& one) {
    sockaddr_in raw{};
    raw.sin_family = AF_INET;
    raw.sin_port = htons(one.port);
    raw.sin_addr.s_addr = htonl(one.host);
    return raw;
}

} // namespace

std::string to_text(const address& one) {
    const in_addr raw{htonl(one.host)};
    char text[INET_ADDRSTRLEN];
    return std::string(inet_ntop(AF_INET, &raw, text, sizeof text)) + ":" + std::to_string(one.port);
}

// The places that the system fills and sends from. A message header keeps its control data from arrival to departure:
// there stands the address that was asked, and the system sends from there.
struct datagrams::batch {
    std::array<mmsghdr, at_once> headers{};
    std::array<iovec, at_once> pieces{};
    std::array<sockaddr_in, at_once> peers{};
    std::array<std::array<char, largest>, at_once> bytes;
    alignas(cmsghdr) std::array<std::array<char, control_size>, at_once> control;
    std::array<std::string, at_once> answers;

    void prepare_to_receive() {
        for (unsigned i = 0; i < at_once; ++i) {
            pieces[i] = {bytes[i].data(), largest};
            headers[i].msg_hdr = {&peers[i], sizeof(sockaddr_in), &pieces[i], 1, control[i].data(), control_size, 0};
        }
    }
    // The interface is left to the routing table, which knows better than the way the question came.
    static void answer_from_asked(msghdr& header) {
        for (cmsghdr* one = CMSG_FIRSTHDR(&header); one != nullptr; one = CMSG_NXTHDR(&header, one)) {
            if (one->cmsg_level != IPPROTO_IP || one->cmsg_type != IP_PKTINFO) continue;
            in_pktinfo info{};
            std::memcpy(&info, CMSG_DATA(one), sizeof info);
            info.ipi_ifindex = 0;
            info.ipi_spec_dst = info.ipi_addr;
            std::memcpy(CMSG_DATA(one), &info, sizeof info);
        }
    }
};

datagrams::datagrams(const address& here, handler::handler& answering, unsigned threads) : handler_(answering) {
    socket_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket_ < 0) fail("socket");
    const int on = 1;
    const int room = 4 << 20;
    (void)::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &room, sizeof room); // as much of it as the system gives
    const sockaddr_in raw = system_address(here);
    if (::setsockopt(socket_, IPPROTO_IP, IP_PKTINFO, &on, sizeof on) != 0 ||
        ::bind(socket_, reinterpret_cast<const sockaddr*>(&raw), sizeof raw) != 0 ||
        (wake_ = ::eventfd(0, EFD_CLOEXEC)) < 0) {
        const int reason = errno;
        ::close(socket_);
        throw std::system_error(reason, std::generic_category(), "datagrams at " + to_text(here));
    }
    for (unsigned i = 0; i < threads; ++i)
        threads_.emplace_back([this] { serve(); });
}

datagrams::~datagrams() {
    const std::uint64_t one = 1;
    (void)!::write(wake_, &one, sizeof one);
    threads_.clear();
    ::close(wake_);
    ::close(socket_);
}

void datagrams::serve() {
    const auto work = std::make_unique<batch>();
    pollfd waiting[] = {{socket_, POLLIN, 0}, {wake_, POLLIN, 0}};
    for (;;) {
        work->prepare_to_receive();
        int count = ::recvmmsg(socket_, work->headers.data(), at_once, MSG_DONTWAIT, nullptr);
        if (count <= 0) { // nothing there, or a failure that belongs to a datagram sent earlier
            (void)::poll(waiting, 2, -1);
            if ((waiting[1].revents & POLLIN) != 0) return;
            continue;
        }
        unsigned ready = 0;
        for (int i = 0; i < count; ++i) {
            mmsghdr& one = work->headers[static_cast<unsigned>(i)];
            if ((one.msg_hdr.msg_flags & MSG_TRUNC) != 0) continue;
            try {
                auto answer = handler_.answer({work->bytes[static_cast<unsigned>(i)].data(), one.msg_len},
                                              handler::road::datagram);
                if (!answer) continue;
                work->answers[ready] = std::move(*answer);
            } catch (const std::bad_alloc&) { // the client asks again
                continue;
            }
            // Answers move up over questions without one; each keeps its own peer and control data.
            mmsghdr& out = work->headers[ready];
            out.msg_hdr = one.msg_hdr;
            out.msg_hdr.msg_flags = 0;
            work->pieces[ready] = {work->answers[ready].data(), work->answers[ready].size()};
            out.msg_hdr.msg_iov = &work->pieces[ready];
            batch::answer_from_asked(out.msg_hdr);
            ++ready;
        }
        for (unsigned sent = 0; sent < ready;) {
            const int some = ::sendmmsg(socket_, work->headers.data() + sent, ready - sent, 0);
            sent += some > 0 ? static_cast<unsigned>(some) : 1; // one that cannot be sent is lost, as any may be
        }
    }
}

} // namespace brimwarden::server::listen
