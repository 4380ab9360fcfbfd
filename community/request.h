#pragma once

#include "community/packet.h"
#include "community/statistics.h"
#include "foundation/event.h"

#include <cstdint>

namespace brimwarden::analysis::community {

enum class operation_code : std::uint32_t { status = 0, query = 2, update = 3, report = 4, revoke = 5 };

// The outcome that a reply's header tells.
enum class reply_indicator : std::uint32_t {
    success = 0,
    needs_connection = 1, // the server does not answer this by datagram
    credentials_refused = 2,
};

// One operation from its construction to its end, on the stack of the thread that runs it. While an exchange waits,
// the receiving thread writes `response`, `answered` and `done`, under the client's lock; the owner reads them when the
// exchange is over.
struct request {
    // A fresh random nonce, version 3, an empty body. `counted` is not owned and outlives the request.
    request(operation_code operation, community_statistics& counted);

    tackle::event done{false}; // set by the first answer or refusal and never reset
    bool answered = false;
    community_statistics* statistics;
    packet outgoing;
    packet response;
    string key; // of the cipher; empty until sealed, and for status, which never is
};

} // namespace brimwarden::analysis::community
