#pragma once

#include "community/wire/reply_body.h"
#include "network/ip4.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>

namespace brimwarden::analysis::community {

// What is known of one server.
struct server_record {
    static constexpr std::size_t most_samples = 16;

    bool reachable = true;               // a server is trusted to answer until a probe has shown otherwise
    server_status status;                // as its last answer to a probe told
    std::deque<std::uint32_t> latencies; // milliseconds, the oldest first

    void add_sample(std::uint32_t latency_ms); // the oldest falls out
    [[nodiscard]] std::optional<std::uint32_t> best_sample() const;
};

using server_map = std::map<tackle::internet::address::ip4, server_record>;

} // namespace brimwarden::analysis::community
