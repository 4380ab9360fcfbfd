#include "tests/network/loopback.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include <winsock2.h>
#else
#include <cerrno>
#include <dlfcn.h>
#include <sys/socket.h>
#endif

// The system's calls in this whole program, each of which fails with a chosen number while there is one.
namespace {

thread_local int forced = 0;

template <typename function>
function* of_the_system(const char* name) {
#ifdef _WIN32
    return reinterpret_cast<function*>(reinterpret_cast<void*>(GetProcAddress(LoadLibraryA("ws2_32"), name)));
#else
    return reinterpret_cast<function*>(dlsym(RTLD_NEXT, name));
#endif
}

bool fails() {
#ifdef _WIN32
    if (forced != 0) WSASetLastError(forced);
#else
    if (forced != 0) errno = forced;
#endif
    return forced != 0;
}

} // namespace

#ifdef _WIN32
// What calls of an imported function go through is a pointer.
#define FAILING(result, name, parameters, arguments)                                                                   \
    static result WSAAPI failing_##name parameters {                                                                   \
        static auto* const real = of_the_system<result WSAAPI parameters>(#name);                                      \
        return fails() ? SOCKET_ERROR : real arguments;                                                                \
    }                                                                                                                  \
    extern "C" {                                                                                                       \
    decltype(&failing_##name) __imp_##name = failing_##name;                                                           \
    }
FAILING(int, connect, (SOCKET s, const sockaddr* to, int size), (s, to, size))
FAILING(int, send, (SOCKET s, const char* bytes, int count, int flags), (s, bytes, count, flags))
FAILING(int, recv, (SOCKET s, char* out, int room, int flags), (s, out, room, flags))
#define NUMBER(name) #name, WSA##name
#else
#define FAILING(result, name, parameters, arguments)                                                                   \
    extern "C" result name parameters {                                                                                \
        static auto* const real = of_the_system<result parameters>(#name);                                             \
        return fails() ? -1 : real arguments;                                                                          \
    }
FAILING(int, connect, (int s, const sockaddr* to, socklen_t size), (s, to, size))
FAILING(ssize_t, send, (int s, const void* bytes, size_t count, int flags), (s, bytes, count, flags))
FAILING(ssize_t, recv, (int s, void* out, size_t room, int flags), (s, out, room, flags))
FAILING(ssize_t, sendto, (int s, const void* bytes, size_t count, int flags, const sockaddr* to, socklen_t size),
        (s, bytes, count, flags, to, size))
#define NUMBER(name) #name, name
#endif

namespace tackle::internet::transport {
namespace {

struct number_case {
    const char* label;
    int number;
    bool loses_datagram; // on Linux
};

// The peer, the network, and a firewall or shortage here that strangers can bring about.
const number_case numbers[] = {
    {NUMBER(ECONNREFUSED), false}, {NUMBER(ECONNRESET), false}, {NUMBER(ECONNABORTED), false},
    {NUMBER(ETIMEDOUT), false},    {NUMBER(ENETRESET), false},  {NUMBER(ENOTCONN), false},
    {NUMBER(ESHUTDOWN), false},    {NUMBER(ENETUNREACH), true}, {NUMBER(EHOSTUNREACH), true},
    {NUMBER(EHOSTDOWN), true},     {NUMBER(ENETDOWN), true},    {NUMBER(ENOPROTOOPT), true},
    {NUMBER(EOPNOTSUPP), true},    {NUMBER(EMSGSIZE), true},    {NUMBER(ENOBUFS), true},
    {NUMBER(EACCES), true},
#ifndef _WIN32
    {NUMBER(EPERM), true},         {NUMBER(ENONET), true},      {NUMBER(EPROTO), true},
    {NUMBER(ENOMEM), true},        {NUMBER(EPIPE), false},
#endif
};

TEST(system_failures, leave_requests_another_attempt) {
    connection pair;
    tcp::raw next;
    next.create(any_loopback_port);
    udp::raw datagrams;
    open_datagram(datagrams);
    string out;
    for (const auto& c : numbers) {
        SCOPED_TRACE(c.label);
        forced = c.number;
        EXPECT_THROW(next.connect(any_loopback_port), tcp::base::connection_failed);
        EXPECT_THROW(pair.client.write("x"), tcp::base::connection_failed);
        EXPECT_THROW(pair.client.read_some(out), tcp::base::connection_failed);
#ifndef _WIN32
        if (c.loses_datagram) {
            EXPECT_NO_THROW(datagrams.send_to(any_loopback_port, "x"));
        }
#endif
        forced = 0;
    }
}

} // namespace
} // namespace tackle::internet::transport
