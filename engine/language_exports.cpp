#include "engine/at_edge.h"
#include "engine/process_objects.h"
#include "foundation/sync/scope.h"
#include "language/language_query.h"
#include "language/plugin_holder.h"
#include "language/plugins/ankiro.h"

#include <iterator>

using namespace brimwarden::engine;
using namespace brimwarden::language;
using tackle::scope;

namespace {

// Made by the first who asks, as it takes milliseconds and memory that many clients never need.
plugin_holder language_plugin() {
    return made_once(language_plugin_holder, language_lock, [] { return std::make_unique<plugins::ankiro::plugin>(); });
}

// A result of nothing is not remembered: the message is looked at again, which costs no more than it did.
void make_sure_of_results(session& asked) {
    const auto plugin = language_plugin();
    if (!asked.language_results.empty()) return;
    language_query query(asked.message);
    detect_message_language(query, *plugin);
    asked.last_trace = std::move(query.trace);
    asked.language_results = std::move(query.results);
}

} // namespace

engine_status BRMX_Language_SetConfigurationPath(const void* path) {
    if (path == nullptr) return null_argument;
    return at_edge([] { return engine_check(); });
}

engine_status BRMX_Language_GetSupportedLanguages(std::uint32_t index, std::uint32_t* lcid) {
    if (lcid == nullptr) return null_argument;
    return at_edge([&] {
        const scope inside(&session_gate);
        std::set<std::uint32_t> languages;
        language_plugin()->supported_languages(languages);
        if (index >= languages.size()) return index_out_of_range;
        *lcid = *std::next(languages.begin(), index);
        return status_ok;
    });
}

engine_status BRMX_Language_GetLanguageRelevance(std::uint32_t handle, std::uint32_t index, std::uint32_t* lcid,
                                                 std::uint32_t* relevance) {
    if (lcid == nullptr || relevance == nullptr) return null_argument;
    return at_edge([&] {
        const scope inside(&session_gate);
        held_session asked;
        if (const auto status = find_session(handle, asked); status != status_ok) return status;
        make_sure_of_results(*asked);
        const auto& results = asked->language_results;
        if (index >= results.size()) return index_out_of_range;
        const auto [found, count] = *std::next(results.begin(), index);
        *lcid = found;
        *relevance = static_cast<std::uint32_t>(count);
        return status_ok;
    });
}
