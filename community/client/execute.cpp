#include "community/client/community_client.h"

#include "community/client/time_limit.h"
#include "community/errors.h"
#include "foundation/sync/scope.h"
#include "foundation/text/unicode.h"
#include "network/numeric_address.h"

namespace brimwarden::analysis::community {

using tackle::format;
using tackle::scope;
using tackle::wstring;

namespace {

constexpr unsigned attempts_before_connection = 2;
constexpr unsigned most_attempts = 8;

reply_indicator outcome(const packet& reply) { return static_cast<reply_indicator>(reply.indicator); }

void check_outcome(const packet& reply) {
    switch (outcome(reply)) {
    case reply_indicator::success:
        return;
    case reply_indicator::needs_connection: // and that was on one
        throw protocol_error("received response with malformed indicator");
    case reply_indicator::credentials_refused:
        throw invalid_credentials("");
    }
    throw protocol_error("");
}

} // namespace

void community_client::trace_server(const ip4& server, trace_list& trace) {
    const wstring address = tackle::unicode::to_wide(tackle::internet::address::numeric_text(server.address()),
                                                     tackle::unicode::raw_code_page);
    const scope lock(this);
    const auto entry = servers_.find(server);
    if (entry == servers_.end()) { // a round has dropped it meanwhile
        trace.append(1, format(u"Server: [%s]", address));
        return;
    }
    const server_record& record = entry->second;
    const auto best = record.best_sample();
    trace.append(1, record.status.name.empty() ? format(u"Server: [%s]", address)
                                               : format(u"Server: %s [%s]", record.status.name, address));
    trace.append(
        2, format(u"Location:  %s", record.status.location.empty() ? wstring(u"Unknown") : record.status.location));
    trace.append(2, best ? format(u"Latency:   %i msec", *best) : wstring(u"Latency:   Unknown"));
}

void community_client::execute(request& sealed, bool connection_mode, std::uint32_t timeout_ms, trace_list& trace) {
    const candidate_list servers = candidates();
    if (!trace.empty()) trace.append(0, u"");
    trace.append(0, u"Executing Request:");
    if (servers.empty()) {
        trace.append(1, u"Operation failed. Discovery found no reachable servers.");
        wake_discovery_.set();
        throw discovery_pending("");
    }
    const time_limit limit(timeout_ms);
    for (auto candidate = servers.begin();;) {
        if (limit.passed()) {
            trace.append(1, u"Operation failed. Timeout expired.");
            throw timed_out("");
        }
        const auto& [wait_ms, server] = *candidate;
        trace_server(server, trace);
        bool answered = false;
        if (connection_mode) {
            trace.append(2, u"Transport: Connection");
            answered = exchange_connection(sealed, wait_ms, limit, server);
        } else {
            trace.append(2, u"Transport: Datagram");
            answered = exchange_datagram(sealed, wait_ms, server);
            if (answered && outcome(sealed.response) == reply_indicator::needs_connection) {
                ++sealed.outgoing.attempt;
                connection_mode = true;
                trace.append(1, u"Switching to connection-oriented mode.");
                continue;
            }
            if (!answered && timeout_ms == 0) return; // said once, to whoever was there to hear it
        }
        if (answered) return check_outcome(sealed.response);
        wake_discovery_.set();
        if (++candidate == servers.end()) candidate = servers.begin();
        ++sealed.outgoing.attempt;
        if (sealed.outgoing.attempt == attempts_before_connection) connection_mode = true;
        if (sealed.outgoing.attempt == most_attempts) {
            trace.append(1, u"Operation failed. Retry limit exceeded.");
            throw timed_out("");
        }
    }
}

} // namespace brimwarden::analysis::community
