#include "community/client/request.h"

#include "platform/random.h"

#include <span>

namespace brimwarden::analysis::community {

request::request(operation_code operation, community_statistics& counted) : statistics(&counted) {
    outgoing.version = 3;
    outgoing.operation = static_cast<std::uint32_t>(operation);
    outgoing.encrypted = operation != operation_code::status;
    // Without a random source the nonce stays zero: weaker, but no reason to do without the community.
    (void)tackle::platform::fill_random(std::as_writable_bytes(std::span(outgoing.nonce)));
}

} // namespace brimwarden::analysis::community
