#include "engine/process_objects.h"

namespace brimwarden::engine {

tackle::mutex engine_lock;
tackle::turnstile session_gate;
tackle::event initialized_event(false);
tackle::event shutdown_event(false);
std::basic_string<brmx_char> state_buffer;
tackle::rw language_lock;
language::plugin_holder language_plugin_holder;
tackle::mutex session_table_lock;
session_map session_table;
tackle::rw community_lock;
std::unique_ptr<analysis::analysis_engine> analysis_engine;
constinit client_holder current_client;
std::uint32_t session_counter = 0;
tackle::mutex group_lock;
tackle::wstring server_group;
std::uint32_t rediscovery_seconds = 0;

engine_status engine_check() {
    if (shutdown_event.wait(0)) return engine_shut_down;
    return initialized_event.wait(0) ? status_ok : engine_not_initialized;
}

} // namespace brimwarden::engine
