#include "engine/at_edge.h"
#include "engine/process_objects.h"
#include "engine/result_buffer.h"
#include "engine/session.h"
#include "foundation/sync/scope.h"

using namespace brimwarden::engine;
using tackle::scope;
using tackle::internet::message2::part;

namespace {

// `load` returns the parsed message. It runs before the table is locked: a large message takes its time.
template <typename function>
engine_status create_session(const function& load, std::uint32_t& handle) {
    if (const auto status = engine_check(); status != status_ok) return status;
    const scope inside(&session_gate);
    auto opened = std::make_unique<session>(load());
    const scope table(&session_table_lock);
    const auto [entry, entered] = session_table.try_emplace(session_counter + 1, std::move(opened));
    session_counter = entry->first;
    if (!entered) return status_out_of_memory; // the counter has wrapped and met a session that still lives
    handle = entry->first;
    return status_ok;
}

} // namespace

engine_status BRMX_Session_CreateFromMemory(const char* data, std::uint32_t length, std::uint32_t* handle) {
    if (data == nullptr || handle == nullptr) return null_argument;
    return at_edge([&] { return create_session([&] { return part(tackle::string_view(data, length)); }, *handle); });
}

engine_status BRMX_Session_CreateFromFile(const brmx_char* path, std::uint32_t path_length, std::uint32_t* handle) {
    if (path == nullptr || handle == nullptr) return null_argument;
    return at_edge([&] {
        try {
            return create_session([&] { return part(tackle::wstring_view(tackle::wstring(path, path + path_length))); },
                                  *handle);
        } catch (const tackle::internet::message2::load_failed&) {
            return file_not_loaded;
        }
    });
}

engine_status BRMX_Session_Destroy(std::uint32_t handle) {
    return at_edge([&] {
        if (const auto status = engine_check(); status != status_ok) return status;
        const scope inside(&session_gate);
        session_map::node_type closed; // outlives the table's lock: a large message takes its time here, too
        const scope table(&session_table_lock);
        const auto entry = session_table.find(handle);
        if (entry == session_table.end()) return unknown_session;
        if (!entry->second->lock.enter(0)) return session_busy;
        closed = session_table.extract(entry);
        closed.mapped()->lock.leave(); // nobody can find it any more, and a held lock must not be destroyed
        return status_ok;
    });
}

engine_status BRMX_Session_GetLastTrace(std::uint32_t handle, std::uint32_t line, std::uint32_t* indent,
                                        brmx_char* text, std::uint32_t* text_length) {
    if (indent == nullptr || text_length == nullptr) return null_argument;
    return at_edge([&] {
        const scope inside(&session_gate);
        held_session found;
        if (const auto status = find_session(handle, found); status != status_ok) return status;
        if (line >= found->last_trace.size()) return index_out_of_range;
        const auto wanted = found->last_trace[line];
        const bool enough = fits(wanted.text, text, *text_length);
        if (enough) *indent = wanted.indent;
        hand_out(wanted.text, enough ? text : nullptr, *text_length);
        return enough ? status_ok : buffer_too_small;
    });
}
