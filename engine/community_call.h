#pragma once

#include "community/errors.h"
#include "include/brmx.h"

namespace brimwarden::engine {

// Runs a call of the community client and turns what the community can fail in into its statuses: after these the
// operation goes on. Everything else is a failure of the operation, and passes.
template <typename function>
engine_status community_status(const function& call) {
    namespace community = analysis::community;
    try {
        call();
        return status_ok;
    } catch (const community::protocol_error&) {
        return community_protocol_error;
    } catch (const community::discovery_pending&) {
        return community_discovery_pending;
    } catch (const community::timed_out&) {
        return community_timed_out;
    } catch (const community::invalid_credentials&) {
        return community_invalid_credentials;
    }
}

} // namespace brimwarden::engine
