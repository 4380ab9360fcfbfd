#include "community/client/community_client.h"

#include "community/client/stopwatch.h"
#include "foundation/sync/scope.h"
#include "network/tcp_raw.h"

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

// No true answer comes near this, so whatever follows is an excess and need not be waited for: a server that goes on
// and on must take neither the whole memory of the program nor hold up its scans for ever.
constexpr std::size_t most_read = std::size_t{64} << 20;

// What the server says, up to the end of its data or what is read at most. Throws what the socket throws.
string converse(raw& socket, request& sent, std::uint32_t wait_ms, const ip4& server) {
    socket.create(server);
    socket.connect(server);
    socket.set_receive_timeout(wait_ms);
    const string bytes = sent.outgoing.render();
    socket.write(bytes);
    socket.shutdown_send(); // how the server learns where the request ends
    ++sent.statistics->connections_made;
    sent.statistics->bytes_sent += static_cast<std::uint32_t>(bytes.size());
    string answer;
    try {
        while (answer.size() < most_read)
            socket.read_some(answer);
    } catch (const raw::connection_closed&) { // how the client learns where the answer ends
    }
    sent.statistics->bytes_received += static_cast<std::uint32_t>(answer.size());
    return answer;
}

} // namespace

// The packet's nonce and attempt do not matter here: nobody else can answer on this connection.
bool community_client::exchange_connection(request& sent, std::uint32_t wait_ms, const ip4& server) {
    raw socket;
    try {
        return sent.response.parse(converse(socket, sent, wait_ms, server));
    } catch (const raw::connection_failed&) {
        ++sent.statistics->connections_failed;
        return false;
    }
}

} // namespace brimwarden::analysis::community
