#pragma once

#include <cstdint>

namespace brimwarden::analysis::community {

// What a packet asks for; the lowest bits of its flags.
enum class operation_code : std::uint32_t { status = 0, query = 2, update = 3, report = 4, revoke = 5 };

// The outcome that a reply's header tells.
enum class reply_indicator : std::uint32_t {
    success = 0,
    needs_connection = 1, // the server does not answer this by datagram
    credentials_refused = 2,
};

} // namespace brimwarden::analysis::community
