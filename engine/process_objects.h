#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "analysis/analysis_engine.h"
#include "engine/client_holder.h"
#include "engine/session.h"
#include "foundation/sync/event.h"
#include "foundation/sync/mutex.h"
#include "foundation/sync/rw.h"
#include "foundation/sync/turnstile.h"
#include "include/brmx.h"
#include "language/plugin_holder.h"

// What exists once in a process. All of it is built while the library loads, in the order below, and taken down in
// reverse when it unloads; nothing waits for BRMX_Engine_Initialize. When the process ends without an unloading,
// nothing is taken down: other threads may be inside a call (platform/destructor_list.h).
//
// Locks, outermost first: engine_lock, session_gate, community_lock, session_table_lock, a session's own. group_lock
// is taken for an instant, and nothing inside it.
// BRMX_Engine_Shutdown alone takes community_lock before it waits for session_gate. A call that passes the gate in
// between and uses or replaces the community waits for the lock, and shutdown for the call: clients end the threads
// that make such calls first.
namespace brimwarden::engine {

extern tackle::mutex engine_lock;       // the lifecycle exports, one at a time; recursive
extern tackle::turnstile session_gate;  // every call on sessions passes; shutdown waits until all are out
extern tackle::event initialized_event; // set for ever by the first BRMX_Engine_Initialize
extern tackle::event shutdown_event;    // set for ever by BRMX_Engine_Shutdown
extern tackle::rw language_lock;        // written around the making and the end of the language plugin
extern language::plugin_holder language_plugin_holder; // null before the first question about a language
extern std::basic_string<brmx_char> state_buffer; // the text that BRMX_Engine_GetState hands out; under engine_lock
extern tackle::mutex session_table_lock;          // session_table and session_counter, for short
extern session_map session_table;
extern tackle::rw community_lock; // read by whoever may use the community, written by whoever replaces it
extern std::unique_ptr<analysis::analysis_engine> analysis_engine; // from initialisation to shutdown; has no data
extern client_holder current_client;                               // written under community_lock
extern std::uint32_t session_counter;                              // the last handle given out

// What the client was last made of, or was to be made of: guarded by group_lock.
extern tackle::mutex group_lock;
extern tackle::wstring server_group;
extern std::uint32_t rediscovery_seconds;

// What exports return that work in the running engine only: engine_shut_down before engine_not_initialized before
// status_ok. Takes no lock.
[[nodiscard]] engine_status engine_check();

} // namespace brimwarden::engine
