#include "analysis/analysis_engine.h"
#include "engine/at_edge.h"
#include "engine/process_objects.h"
#include "engine/session.h"
#include "foundation/scope.h"

using namespace brimwarden::engine;
using brimwarden::analysis::scan_context;
using tackle::const_scope;
using tackle::scope;

// No engine_check: a session that has outlived the engine can still be scanned, the stages need no object.
engine_status BRMX_Spam_GetProbability(std::uint32_t handle, std::uint32_t /*timeout_ms*/, std::int32_t* probability) {
    if (probability == nullptr) return null_argument;
    return at_edge([&] {
        const scope inside(&session_gate);
        const const_scope community(&community_lock);
        held_session found;
        if (const auto status = find_session(handle, found); status != status_ok) return status;

        scan_context scan(found->message);
        brimwarden::analysis::analysis_engine::generate_signatures(scan);
        const engine_status status = community_unavailable; // nobody to ask: the scan goes on with what it has
        brimwarden::analysis::analysis_engine::classify(scan);

        *probability = static_cast<std::int32_t>(scan.probability); // cut, not rounded: 99.99 is 99
        found->last_trace = std::move(scan.trace);
        return status;
    });
}
