#pragma once

#include <cstdint>

namespace brimwarden::analysis::community {

// What one call of the community cost. Its owner zeroes it; every exchange of the call adds to it.
struct community_statistics {
    std::uint32_t bytes_sent = 0;     // packets, by either transport
    std::uint32_t bytes_received = 0; // datagrams that answered the call, and all bytes of a connection's answer
    std::uint32_t datagrams_sent = 0;
    std::uint32_t datagrams_received = 0; // those that answered the call
    std::uint32_t connections_made = 0;   // over which the whole request went out
    std::uint32_t connections_failed = 0;
    std::uint32_t latency_ms = 0; // not a sum: of the last datagram exchange, answered or not
};

} // namespace brimwarden::analysis::community
