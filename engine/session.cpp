#include "engine/session.h"

#include "engine/process_objects.h"
#include "foundation/sync/scope.h"

namespace brimwarden::engine {

held_session::~held_session() noexcept(false) {
    if (session_ != nullptr) session_->lock.leave();
}

engine_status find_session(std::uint32_t handle, held_session& found) {
    const tackle::scope table(&session_table_lock);
    const auto entry = session_table.find(handle);
    if (entry == session_table.end()) return unknown_session;
    // Still inside the table's lock: whoever destroys the session has to come through here, too.
    if (!entry->second->lock.enter(0)) return session_busy;
    found.session_ = entry->second.get();
    return status_ok;
}

} // namespace brimwarden::engine
