#include "network/raise.h"

#include "network/environment.h"
#include "network/transport_errors.h"

namespace tackle::internet::transport {

using platform::socket_cause;

void raise_listed(const char* call, platform::socket_status status, std::span<const failure_row> rows) {
    for (const auto& row : rows)
        if (row.cause == status.cause) row.raise(format("%s() failed", row.named != nullptr ? row.named : call));
}

void raise_other(const char* call, platform::socket_status status) {
    // The two are the other way round in name lookups, and clients know both readings.
    if (status.cause == socket_cause::not_started) throw environment::subsystem_failed(format("%s() failed", call));
    if (status.cause == socket_cause::network_down) throw environment::subsystem_not_ready(format("%s() failed", call));
    if (status.cause == socket_cause::not_a_socket) throw not_a_socket(format("%s() failed", call));
    throw generic(format("%s() returned status 0x%.8x", call, status.number));
}

} // namespace tackle::internet::transport
