#include "tools/brmx_scan/complaint.h"

namespace brmx_scan {

namespace {

const char* advice(engine_status status) {
    switch (status) {
    case message_too_deep:
        return "parts nested more than 64 deep, which no mail program writes";
    case community_unavailable:
        return "name a server group with --community";
    case community_discovery_pending:
        return "no server has answered yet; try --health";
    case community_protocol_error:
        return "an answer was invalid, or with --timeout 0 was lost; try again";
    case community_timed_out:
        return "no answer in time; allow more with --timeout";
    case community_invalid_credentials:
        return "the servers refuse the credentials; see --credentials";
    case status_out_of_memory:
        return "fewer --jobs need less memory";
    default:
        return nullptr;
    }
}

} // namespace

bool failed(const report& made, const questions& asked) {
    if (!made.error.empty()) return true;
    return asked.what == action::scan ? !made.result.probability : made.result.status != status_ok;
}

std::string explain(engine_status status, const char* outcome) {
    auto text = std::string(status_name(status)) + outcome;
    if (const char* const told = advice(status); told != nullptr) text += std::string(" (") + told + ')';
    return text;
}

std::string complaint(const report& made, bool has_community) {
    if (!made.error.empty()) return made.file + ": " + made.error;
    const bool local = made.result.probability.has_value();
    if (made.result.status == status_ok || (local && !has_community)) return {};
    return made.file + ": " +
           explain(made.result.status,
                   local ? "; the number comes from the local tests and from what was answered before" : "");
}

} // namespace brmx_scan
