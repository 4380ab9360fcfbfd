#include "community/client/community_client.h"
#include "community/errors.h"
#include "engine/at_edge.h"
#include "engine/community_call.h"
#include "engine/process_objects.h"
#include "engine/session.h"
#include "foundation/sync/scope.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "platform/process.h"

#include <limits>

using namespace brimwarden::engine;
using brimwarden::analysis::scan_context;
using brimwarden::analysis::community::community_client;
using brimwarden::analysis::community::community_statistics;
using tackle::const_scope;
using tackle::scope;
namespace community = brimwarden::analysis::community;

namespace {

constexpr std::uint32_t utf8 = 65001;

// The filter program signs in as another kind of member than everybody else who gives this mode.
constexpr std::uint32_t member_mode = 1;
constexpr std::uint32_t filter_mode = 2;

bool runs_in_the_filter() {
    const std::string name = tackle::to_lower(tackle::platform::process_file_name());
    return tackle::ends_with(name, tackle::platform::path_separator() + std::string("filter.exe"));
}

void give(std::uint32_t value, std::uint32_t* out) {
    if (out != nullptr) *out = value;
}

using message_operation = void (community_client::*)(scan_context&, community_statistics&,
                                                     const community::community_credentials&, std::uint32_t, bool);

engine_status send_message(message_operation operation, std::uint32_t handle, std::uint32_t timeout_ms, bool flag) {
    return at_edge([&] {
        const scope inside(&session_gate);
        const const_scope using_community(&community_lock);
        if (current_client.get() == nullptr) return community_unavailable;
        held_session found;
        if (const auto status = find_session(handle, found); status != status_ok) return status;
        scan_context context(found->message);
        community_statistics statistics;
        const engine_status status = community_status(
            [&] { (current_client.get()->*operation)(context, statistics, found->credentials, timeout_ms, flag); });
        found->last_trace = std::move(context.trace);
        found->statistics = statistics;
        return status;
    });
}

} // namespace

engine_status BRMX_Spam_SetCommunityCredentials(std::uint32_t handle, std::uint32_t mode, std::uint32_t id,
                                                const brmx_char* secret, std::uint32_t length) {
    if (secret == nullptr) return null_argument;
    return at_edge([&] {
        const scope inside(&session_gate);
        held_session found;
        if (const auto status = find_session(handle, found); status != status_ok) return status;
        auto& credentials = found->credentials;
        credentials.set_secret(secret, length); // first, since it is all that can fail
        credentials.credential_mode = mode;
        credentials.credential_id = id;
        if (mode == member_mode && runs_in_the_filter()) credentials.credential_mode = filter_mode;
        return status_ok;
    });
}

engine_status BRMX_Spam_SetCommunityServerGroup(const brmx_char* group, std::uint32_t length,
                                                std::uint32_t rediscovery) {
    if (group == nullptr) return null_argument;
    return at_edge([&] {
        if (const auto status = engine_check(); status != status_ok) return status;
        const scope inside(&session_gate);
        const scope alone(&community_lock);
        const tackle::wstring name(group, group + length);
        {
            const scope values(&group_lock);
            server_group = name;
            rediscovery_seconds = rediscovery;
        }
        // The old client goes on until the new one stands: a failure here leaves it in place.
        current_client.reset(std::make_unique<community_client>(
            tackle::internet::address::ip4(0, 0), tackle::unicode::to_narrow(name, utf8, true), rediscovery));
        return status_ok;
    });
}

engine_status BRMX_Spam_GetCommunityHealth(std::uint8_t rediscover, std::uint32_t* reachable,
                                           std::uint32_t* unreachable, std::uint32_t* latency_ms) {
    return at_edge([&] {
        if (const auto status = engine_check(); status != status_ok) return status;
        const scope inside(&session_gate);
        const const_scope using_community(&community_lock);
        community_client* const client = current_client.get();
        if (client == nullptr) return community_unavailable;
        if (rediscover != 0) client->trigger_discovery();
        client->wait_round_complete();
        community::server_map servers;
        client->server_snapshot(servers);
        std::uint32_t answering = 0;
        std::uint32_t silent = 0;
        std::uint32_t best = std::numeric_limits<std::uint32_t>::max();
        for (const auto& [address, record] : servers) {
            ++(record.reachable ? answering : silent);
            if (record.reachable) best = std::min(best, record.best_sample().value_or(best));
        }
        give(answering, reachable);
        give(silent, unreachable);
        give(best == std::numeric_limits<std::uint32_t>::max() ? 0 : best, latency_ms);
        return status_ok;
    });
}

engine_status BRMX_Spam_GetCommunityStatistics2(std::uint32_t handle, std::uint32_t* bytes_sent,
                                                std::uint32_t* bytes_received, std::uint32_t* datagrams_sent,
                                                std::uint32_t* datagrams_received, std::uint32_t* connections_made,
                                                std::uint32_t* connections_failed, std::uint32_t* latency_ms) {
    return at_edge([&] {
        const scope inside(&session_gate);
        held_session found;
        if (const auto status = find_session(handle, found); status != status_ok) return status;
        const auto& counted = found->statistics;
        give(counted.bytes_sent, bytes_sent);
        give(counted.bytes_received, bytes_received);
        give(counted.datagrams_sent, datagrams_sent);
        give(counted.datagrams_received, datagrams_received);
        give(counted.connections_made, connections_made);
        give(counted.connections_failed, connections_failed);
        give(counted.latency_ms, latency_ms);
        return status_ok;
    });
}

engine_status BRMX_Spam_GetCommunityStatistics(std::uint32_t handle, std::uint32_t* bytes_sent,
                                               std::uint32_t* bytes_received, std::uint32_t* datagrams_sent,
                                               std::uint32_t* datagrams_received, std::uint32_t* latency_ms) {
    return BRMX_Spam_GetCommunityStatistics2(handle, bytes_sent, bytes_received, datagrams_sent, datagrams_received,
                                             nullptr, nullptr, latency_ms);
}

engine_status BRMX_Spam_CommunityReport2(std::uint32_t handle, std::uint32_t timeout_ms, std::uint8_t report_flag) {
    return send_message(&community_client::report, handle, timeout_ms, report_flag != 0);
}

engine_status BRMX_Spam_CommunityRevoke2(std::uint32_t handle, std::uint32_t timeout_ms, std::uint8_t report_flag) {
    return send_message(&community_client::revoke, handle, timeout_ms, report_flag != 0);
}

engine_status BRMX_Spam_CommunityReport(std::uint32_t handle) { return BRMX_Spam_CommunityReport2(handle, 0, 0); }

engine_status BRMX_Spam_CommunityRevoke(std::uint32_t handle) { return BRMX_Spam_CommunityRevoke2(handle, 0, 0); }
