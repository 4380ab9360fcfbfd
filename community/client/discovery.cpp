#include "community/client/community_client.h"

#include "community/wire/reply_body.h"
#include "deployment/deployment.h"
#include "foundation/sync/scope.h"
#include "platform/resolver.h"

#include <algorithm>
#include <vector>

// The thread that looks for servers.
namespace brimwarden::analysis::community {

using tackle::scope;

namespace {

constexpr std::uint16_t server_port = 2409;
constexpr const char* server_service = "2409";
constexpr std::size_t fewest_resolved = 2;
constexpr unsigned probe_tries = 3;
constexpr std::uint32_t probe_wait_ms = 1000;

std::uint32_t period_of(std::uint32_t seconds) {
    if (seconds == 0) return tackle::infinite;
    // Beyond 49 days the count of milliseconds does not fit, and nobody will see the difference.
    return static_cast<std::uint32_t>(std::min(seconds * std::uint64_t{1000}, std::uint64_t{tackle::infinite - 1}));
}

} // namespace

void community_client::discover_until_closed() {
    try {
        const scope inside(&turnstile_);
        const std::uint32_t period_ms = period_of(rediscovery_seconds_);
        while (!turnstile_.closing()) {
            (void)wake_discovery_.wait(period_ms); // called or by itself, it is the same
            if (turnstile_.closing()) return;
            try {
                std::set<ip4> found;
                discover(found);
                discovery_done_.set();
                probe_servers(found);
            } catch (const std::exception&) { // this round ends early; the list stays as the round has left it
            }
            discovery_done_.set(); // also after a failure: the constructor waits for it
            round_complete_.set();
            wake_discovery_.reset();
        }
    } catch (const std::exception&) { // an event failed: no more rounds, and requests go on with the list they have
        return;
    }
}

void community_client::discover(std::set<ip4>& found) {
    std::vector<tackle::platform::raw_address> answer;
    // An answer that fails is an answer without addresses.
    (void)tackle::platform::look_up(group_host_.c_str(), server_service, answer);
    for (const auto& raw : answer) {
        ip4 server;
        server.assign(raw.data(), static_cast<std::uint32_t>(raw.size()));
        found.insert(server);
    }
    if (group_host_ == deployment::default_group_host && found.size() < fewest_resolved)
        for (const auto& fallback : deployment::fallback_addresses)
            found.insert(ip4::from_numeric(fallback, server_port));

    const scope lock(this);
    for (const auto& server : found)
        servers_.try_emplace(server);
    std::erase_if(servers_, [&](const auto& entry) { return !found.contains(entry.first); });
}

void community_client::probe_servers(const std::set<ip4>& servers) {
    for (const auto& server : servers) {
        if (turnstile_.closing()) return;
        probe_server(server);
    }
}

void community_client::probe_server(const ip4& server) {
    community_statistics nobodys;
    request probe(operation_code::status, nobodys);
    bool succeeded = false;
    for (unsigned tries = 0; tries < probe_tries && !succeeded && !turnstile_.closing(); ++tries) {
        if (!exchange_datagram(probe, probe_wait_ms, server)) continue;
        succeeded = probe.response.indicator == static_cast<std::uint32_t>(reply_indicator::success);
        if (!succeeded) ++probe.outgoing.attempt;
    }
    const scope lock(this);
    const auto entry = servers_.find(server);
    if (entry == servers_.end()) return;
    entry->second.reachable = false;
    entry->second.reachable = succeeded && read_status(probe.response, entry->second.status);
}

community_client::candidate_list community_client::candidates() {
    constexpr std::uint32_t unknown_wait_ms = 500;
    constexpr std::uint32_t margin_ms = 100;
    candidate_list list;
    const scope lock(this);
    for (const auto& [server, record] : servers_) {
        if (!record.reachable) continue;
        const auto best = record.best_sample();
        list.emplace(best ? *best + margin_ms : unknown_wait_ms, server); // behind equal ones: they stay in order
    }
    return list;
}

} // namespace brimwarden::analysis::community
