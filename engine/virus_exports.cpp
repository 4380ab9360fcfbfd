#include "engine/at_edge.h"
#include "engine/process_objects.h"
#include "engine/session.h"
#include "foundation/sync/scope.h"

using namespace brimwarden::engine;
using tackle::scope;

namespace {

// A wrong handle keeps its usual answer, so that a client can be written against a scanner that is not there.
engine_status look_up_only(std::uint32_t handle) noexcept {
    return at_edge([&] {
        const scope inside(&session_gate);
        held_session found;
        const auto status = find_session(handle, found);
        return status != status_ok ? status : not_implemented;
    });
}

} // namespace

engine_status BRMX_Virus_GetInfected(std::uint32_t handle, ...) { return look_up_only(handle); }

engine_status BRMX_Virus_GetEncrypted(std::uint32_t handle, ...) { return look_up_only(handle); }

engine_status BRMX_Virus_GetCorrupted(std::uint32_t handle, ...) { return look_up_only(handle); }

engine_status BRMX_Virus_GetSuspiciousParts(std::uint32_t handle, ...) { return look_up_only(handle); }

engine_status BRMX_Virus_GetDefinitions() {
    return at_edge([] {
        if (const auto status = engine_check(); status != status_ok) return status;
        const scope inside(&session_gate);
        return not_implemented;
    });
}
