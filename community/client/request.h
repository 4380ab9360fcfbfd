#pragma once

#include "community/client/statistics.h"
#include "community/wire/operation.h"
#include "community/wire/packet.h"
#include "foundation/sync/event.h"
#include "foundation/text/wipe.h"

#include <cstdint>

namespace brimwarden::analysis::community {

// One operation from its construction to its end, on the stack of the thread that runs it. While an exchange waits,
// the receiving thread writes `response`, `answered` and `done`, under the client's lock; the owner reads them when the
// exchange is over.
struct request {
    // A fresh random nonce, version 3, an empty body. `counted` is not owned and outlives the request.
    request(operation_code operation, community_statistics& counted);
    ~request() { tackle::wipe(key); }
    request(const request&) = delete;
    request& operator=(const request&) = delete;

    tackle::event done{false}; // set by the first answer or refusal and never reset
    bool answered = false;
    community_statistics* statistics;
    packet outgoing;
    packet response;
    // In bytes, of the whole packet. Over a connection a server may send as much as it likes, and whatever is far longer
    // than this is a protocol_error before it has cost much memory.
    std::size_t longest_answer = packet::header_size;
    string key; // of the cipher; empty until sealed, and for status, which never is
};

} // namespace brimwarden::analysis::community
