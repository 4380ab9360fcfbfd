#include "community/client/community_client.h"

#include "community/client/stopwatch.h"
#include "community/client/time_limit.h"
#include "community/errors.h"
#include "foundation/sync/scope.h"
#include "network/tcp_raw.h"

#include <algorithm>

// One packet out and one in.
namespace brimwarden::analysis::community {

using tackle::scope;
using tackle::internet::transport::tcp::raw;

// A place among the waiting, left at the end whatever happens.
class community_client::pending_hold {
public:
    pending_hold(community_client& client, const pending_entry& entry) : client_(client), entry_(entry) {
        const scope lock(&client_);
        client_.pending_.insert(entry_);
    }
    ~pending_hold() {
        const scope lock(&client_);
        leave();
    }
    pending_hold(const pending_hold&) = delete;
    pending_hold& operator=(const pending_hold&) = delete;
    void leave() { client_.pending_.erase(entry_); } // under the lock

private:
    community_client& client_;
    pending_entry entry_;
};

bool community_client::exchange_datagram(request& sent, std::uint32_t wait_ms, const ip4& server) {
    pending_hold waiting(*this, {&sent, &server});
    stopwatch watch(false);
    const string bytes = sent.outgoing.render();
    watch.lap_start();
    socket_.send_to(server, bytes);
    ++sent.statistics->datagrams_sent;
    sent.statistics->bytes_sent += static_cast<std::uint32_t>(bytes.size());
    if (wait_ms != 0) {
        (void)sent.done.wait(wait_ms);
        sent.statistics->latency_ms = watch.lap_elapsed();
    }
    const scope lock(this);
    waiting.leave();
    if (sent.answered && wait_ms != 0)
        if (const auto entry = servers_.find(server); entry != servers_.end())
            entry->second.add_sample(sent.statistics->latency_ms);
    return sent.answered;
}

namespace {

constexpr std::uint32_t stall_ms = 10'000; // without progress in sending
constexpr std::size_t sent_at_once = 16384;
// Read beyond the longest true answer, so that the whole refusal of a server of another protocol counts as no answer.
constexpr std::size_t excess_read = 8192;

// The end of an attempt whose connection is established.
class deadline {
public:
    explicit deadline(std::uint32_t span_ms) : span_ms_(span_ms), watch_(true) {}
    // The limit for one call on the socket; it is above 0, which would mean none. Throws when the end has passed.
    [[nodiscard]] std::uint32_t cut(std::uint32_t limit_ms) const {
        const std::uint32_t elapsed_ms = watch_.elapsed_ms();
        if (elapsed_ms > span_ms_) throw raw::connection_timed_out("no complete answer in time");
        return std::min(limit_ms - 1, span_ms_ - elapsed_ms) + 1; // a call that runs out of time ends after the end
    }

private:
    std::uint32_t span_ms_;
    stopwatch watch_;
};

void send_request(raw& socket, string_view bytes, const deadline& end) {
    while (!bytes.empty()) {
        socket.set_send_timeout(end.cut(stall_ms));
        bytes.remove_prefix(socket.send_some(bytes.substr(0, sent_at_once)));
    }
    socket.shutdown_send(); // how the server learns where the request ends
}

// Up to the end of the server's data, which is how the client learns where the answer ends.
string read_answer(raw& socket, std::size_t longest, std::uint32_t wait_ms, const deadline& end) {
    string answer;
    try {
        while (answer.size() <= longest + excess_read) {
            socket.set_receive_timeout(end.cut(wait_ms));
            socket.read_some(answer);
        }
    } catch (const raw::connection_closed&) {
        return answer;
    }
    throw protocol_error("excess response length");
}

} // namespace

// The packet's nonce and attempt do not matter here: nobody else can answer on this connection.
bool community_client::exchange_connection(request& sent, std::uint32_t wait_ms, const time_limit& limit,
                                           const ip4& server) {
    raw socket;
    try {
        socket.create(server);
        socket.connect(server);
        const deadline end(limit.left_for_connection(wait_ms));
        const string bytes = sent.outgoing.render();
        send_request(socket, bytes, end);
        ++sent.statistics->connections_made;
        sent.statistics->bytes_sent += static_cast<std::uint32_t>(bytes.size());
        const string answer = read_answer(socket, sent.longest_answer, wait_ms, end);
        sent.statistics->bytes_received += static_cast<std::uint32_t>(answer.size());
        return sent.response.parse(answer);
    } catch (const raw::connection_failed&) {
        ++sent.statistics->connections_failed;
        return false;
    }
}

} // namespace brimwarden::analysis::community
