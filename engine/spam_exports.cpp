#include "analysis/analysis_engine.h"
#include "engine/at_edge.h"
#include "engine/community_call.h"
#include "engine/process_objects.h"
#include "engine/session.h"
#include "foundation/sync/scope.h"

using namespace brimwarden::engine;
using brimwarden::analysis::scan_context;
using tackle::const_scope;
using tackle::scope;
using namespace brimwarden::analysis::community;

namespace {

// The answer stands by now, and whatever goes wrong here cannot spoil it.
void tell_result(community_client& client, scan_context& scan, community_statistics& statistics,
                 const community_credentials& credentials) {
    try {
        client.update(scan, statistics, credentials, 0);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) { // the community does without
        return;
    }
}

} // namespace

// No engine_check: a session that has outlived the engine can still be scanned, the stages need no object.
engine_status BRMX_Spam_GetProbability(std::uint32_t handle, std::uint32_t timeout_ms, std::int32_t* probability) {
    if (probability == nullptr) return null_argument;
    return at_edge([&] {
        const scope inside(&session_gate);
        const const_scope using_community(&community_lock);
        held_session found;
        if (const auto status = find_session(handle, found); status != status_ok) return status;

        scan_context scan(found->message);
        brimwarden::analysis::analysis_engine::generate_signatures(scan);
        community_statistics statistics;
        community_client* const client = current_client.get();
        // A failure of the community is no failure of the scan, which goes on with what it has.
        const engine_status status = client == nullptr ? community_unavailable : community_status([&] {
            client->query(scan, statistics, found->credentials, timeout_ms);
        });
        brimwarden::analysis::analysis_engine::classify(scan);
        if (client != nullptr && status == status_ok) tell_result(*client, scan, statistics, found->credentials);

        *probability = static_cast<std::int32_t>(scan.probability); // cut, not rounded: 99.99 is 99
        found->last_trace = std::move(scan.trace);
        found->statistics = statistics;
        return status;
    });
}
