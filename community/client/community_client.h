#pragma once

#include "community/client/request.h"
#include "community/client/server_record.h"
#include "community/wire/credentials.h"
#include "findings/scan_context.h"
#include "foundation/sync/event.h"
#include "foundation/sync/mutex.h"
#include "foundation/sync/turnstile.h"
#include "network/environment.h"
#include "network/ip4.h"
#include "network/udp_raw.h"
#include "platform/thread.h"

#include <cstdint>
#include <map>
#include <set>

namespace brimwarden::analysis::community {

using tackle::internet::address::ip4;
class time_limit;

// The conversation with the community's servers. It finds them by itself, on a thread of its own; a second thread gets
// all datagrams. Any number of threads may call the operations at once, each blocks until its own request is over.
// The object is its own lock: it guards the server list and the waiting exchanges, is held for short walks only, and
// nothing else is taken inside it. The owner sees to it that no operation runs when the object ends.
class community_client final : public tackle::mutex {
public:
    // Blocks until the first lookup of `group_host` has been made; the servers are probed afterwards. A host that does
    // not resolve is no failure. `rediscovery_seconds` is the time between two rounds of discovery; 0 leaves them to
    // requests that fail. Throws exceptions of tackle::internet::transport and environment, and tackle::exception.
    community_client(const ip4& bind_address, string_view group_host, std::uint32_t rediscovery_seconds);
    // Ends both threads; at once, but for a lookup of the group that the system has under way.
    ~community_client();
    community_client(const community_client&) = delete;
    community_client& operator=(const community_client&) = delete;

    // In place of the destructor, in a child of the process that made the client: the threads are not here, the socket
    // is the parent's as well, and a fork may have met the lock and the lists in the middle of a change. So the object
    // stays for ever and must not be used any more; only the descriptor of the socket is given back.
    void abandon();

    // The four operations. Each throws discovery_pending, timed_out, protocol_error or invalid_credentials, or what the
    // transport raises. `timeout_ms` is looked at before each attempt and ends one whose connection is established, but
    // not before the server has had the time that it usually takes. What exceeds it is one wait for a datagram, or one
    // try of the system to connect. With 0 a datagram is the last one, answered or not, and each of the eight attempts
    // by connection gets 30 s. A connection that takes nothing for 10 s has failed in any case.

    // Asks what the community knows of the signatures, and fills their records. Throws also what write_query throws.
    void query(scan_context& scan, community_statistics& statistics, const community_credentials& credentials,
               std::uint32_t timeout_ms);
    // Tells the community the result of a scan. Never waits for more than one answer by datagram, whatever the time.
    void update(scan_context& scan, community_statistics& statistics, const community_credentials& credentials,
                std::uint32_t timeout_ms);
    // Send the whole message, over a connection.
    void report(scan_context& scan, community_statistics& statistics, const community_credentials& credentials,
                std::uint32_t timeout_ms, bool report_flag);
    void revoke(scan_context& scan, community_statistics& statistics, const community_credentials& credentials,
                std::uint32_t timeout_ms, bool report_flag);

    void server_snapshot(server_map& out);
    // Starts a round of discovery; none if one is under way.
    void trigger_discovery();
    // Blocks until the first round of this client has ended, later ones do not count.
    void wait_round_complete();

    // The whole run of a sealed request: chooses servers, sends, waits, tries again, and tells each step in the trace.
    void execute(request& sealed, bool connection_mode, std::uint32_t timeout_ms, trace_list& trace);

private:
    // Both point into the frame of the thread that waits, which takes the entry out before that frame ends.
    struct pending_entry {
        request* waiting;
        const ip4* asked;
        bool operator<(const pending_entry& other) const { return std::less<>()(waiting, other.waiting); }
    };
    class pending_hold;
    // By the time in milliseconds that the server is given for an answer; equal ones in the order of their addresses.
    using candidate_list = std::multimap<std::uint32_t, ip4>;

    void receive_all();
    void receive_one(ip4& sender);
    void answer_arrived(const ip4& sender, const packet& reply, std::size_t size);
    void refusal_arrived(const ip4& sender);
    void discover_until_closed();
    void stop();

    void discover(std::set<ip4>& found);
    void probe_servers(const std::set<ip4>& servers);
    void probe_server(const ip4& server);

    [[nodiscard]] candidate_list candidates();
    void trace_server(const ip4& server, trace_list& trace);
    bool exchange_datagram(request& sent, std::uint32_t wait_ms, const ip4& server);
    static bool exchange_connection(request& sent, std::uint32_t wait_ms, const time_limit& limit, const ip4& server);
    void send_message(operation_code operation, scan_context& scan, community_statistics& statistics,
                      const community_credentials& credentials, std::uint32_t timeout_ms, bool report_flag);

    tackle::turnstile turnstile_; // both threads are inside for their whole life
    tackle::internet::environment environment_;
    tackle::internet::transport::udp::raw socket_; // for all requests and probes
    std::uint32_t largest_datagram_ = 0;
    string datagram_; // the last one received; the receiving thread's own
    tackle::event receiver_ready_{false};
    string group_host_;
    server_map servers_;
    std::set<pending_entry> pending_;
    tackle::event wake_discovery_{false}; // a level: signals during a round are wiped at its end
    tackle::event discovery_done_{false};
    std::uint32_t rediscovery_seconds_;
    tackle::event round_complete_{false};
    tackle::platform::thread_handle receive_thread_ = 0;
    tackle::platform::thread_handle discovery_thread_ = 0;
};

} // namespace brimwarden::analysis::community
