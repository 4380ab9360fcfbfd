#include "engine/at_edge.h"
#include "engine/process_objects.h"
#include "engine/result_buffer.h"
#include "foundation/sync/scope.h"
#include "foundation/text/format.h"
#include "platform/heap.h"

using namespace brimwarden::engine;
using tackle::scope;
using tackle::wstring;
using tackle::wstring_view;

namespace {

// The source line, the processor, the kind of build, and how the run-time is linked.
constexpr wstring_view build_text = u"TRUNK X64 RELEASE SRTL";

void give(std::uint32_t value, std::uint32_t* out) {
    if (out != nullptr) *out = value;
}

} // namespace

engine_status BRMX_Engine_Initialize() {
    return at_edge([] {
        const scope lifecycle(&engine_lock);
        if (initialized_event.wait(0)) return engine_already_initialized;
        initialized_event.set();
        analysis_engine = std::make_unique<brimwarden::analysis::analysis_engine>();
        return status_ok;
    });
}

engine_status BRMX_Engine_Shutdown() {
    return at_edge([] {
        const scope lifecycle(&engine_lock);
        const scope no_scans(&community_lock);
        if (const auto status = engine_check(); status != status_ok) return status;
        shutdown_event.set();
        session_gate.close(tackle::infinite);
        analysis_engine.reset();
        current_client.reset();
        const scope no_language(&language_lock);
        language_plugin_holder.reset();
        return status_ok;
    });
}

engine_status BRMX_Engine_GetVersion(brmx_char* version, std::uint32_t* version_length, brmx_char* build,
                                     std::uint32_t* build_length) {
    if (version_length == nullptr || build_length == nullptr) return null_argument;
    return at_edge([&] {
        const scope lifecycle(&engine_lock);
        const wstring version_text = tackle::format(u"%i.%i.%i.%i", BRMX_VERSION_NUMBERS);
        const bool both = fits(version_text, version, *version_length) && fits(build_text, build, *build_length);
        hand_out(version_text, both ? version : nullptr, *version_length);
        hand_out(build_text, both ? build : nullptr, *build_length);
        return both ? status_ok : buffer_too_small;
    });
}

engine_status BRMX_Engine_VerifyCompatibility(const brmx_char* build, std::uint32_t build_length) {
    if (build == nullptr) return null_argument;
    return at_edge([&] {
        const scope lifecycle(&engine_lock);
        return std::equal(build, build + build_length, build_text.begin(), build_text.end()) ? status_ok
                                                                                             : build_mismatch;
    });
}

engine_status BRMX_Engine_GetHeapInformation(std::uint32_t* used_blocks, std::uint32_t* used_bytes,
                                             std::uint32_t* free_blocks, std::uint32_t* free_bytes) {
    const auto report = tackle::platform::report_heap();
    give(report.used_blocks, used_blocks);
    give(report.used_bytes, used_bytes);
    give(report.free_blocks, free_blocks);
    give(report.free_bytes, free_bytes);
    return status_ok;
}

engine_status BRMX_Engine_GetSessionInformation(std::uint32_t* open_sessions, std::uint32_t* sessions_made) {
    return at_edge([&] {
        if (const auto status = engine_check(); status != status_ok) return status;
        const scope inside(&session_gate);
        const scope table(&session_table_lock);
        give(static_cast<std::uint32_t>(session_table.size()), open_sessions);
        give(session_counter, sessions_made);
        return status_ok;
    });
}
