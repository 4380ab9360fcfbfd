#pragma once

#include <cstdint>
#include <string>

namespace brimwarden::server::listen {

// An IPv4 address and a port, both in host byte order. The protocol has nothing else: clients look for IPv4 alone.
struct address {
    std::uint32_t host = 0;
    std::uint16_t port = 0;
    [[nodiscard]] bool is_loopback() const { return host >> 24 == 127; }
};

[[nodiscard]] std::string to_text(const address& one);

} // namespace brimwarden::server::listen
