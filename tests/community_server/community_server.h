#pragma once

#include "community/wire/packet.h"
#include "foundation/sync/event.h"
#include "foundation/sync/mutex.h"
#include "network/environment.h"
#include "network/ip4.h"
#include "network/tcp_raw.h"
#include "network/udp_raw.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <thread>
#include <vector>

// A small complete server of the community for tests, on real sockets of loopback addresses. It checks digests,
// deciphers, answers what it has been told to know, keeps reports, and does every wrong thing that a test asks for.
namespace brimwarden::community_server {

using analysis::community::packet;
using tackle::string;
using tackle::string_view;
using tackle::internet::address::ip4;

// A request as it came.
struct seen_request {
    packet header; // with the body as it came
    bool by_connection = false;
    std::uint64_t credential_mode = 0;
    std::uint64_t credential_id = 0;
    bool digest_good = false;
    string payload; // deciphered, where the digest is good
};

// What a signature's value on the wire, as it stands behind its code, is answered with: the seven numbers of an entry.
using knowledge = std::map<string, std::vector<std::uint64_t>>;

// One signature of a query.
struct asked_signature {
    std::uint64_t code = 0;
    string value; // as it stands on the wire behind the code, a count left out
};
[[nodiscard]] std::vector<asked_signature> signatures_of(const seen_request& query);

struct answer {
    string bytes;                // of the whole packet, or whatever else
    bool from_elsewhere = false; // a datagram of another address
    unsigned times = 1;          // over a connection, this often in a row
};

enum class welcome : std::uint8_t {
    read,
    ignore, // open, and never read from
    refuse, // for good
};

struct behaviour {
    std::vector<answer> answers; // one after the other; none is silence
    bool byte_by_byte = false;   // over a connection, each byte sent by itself
    bool left_open = false;      // a connection, until the server ends
    std::uint32_t delay_ms = 0;  // until the answers go out; nobody else waits for it
    std::uint32_t gap_ms = 0;    // over a connection, before each piece
};

class server {
public:
    using script = std::function<behaviour(server&, const seen_request&)>;

    // Listens at the address, for datagrams and connections. `what_to_do` is asked about each request, by several
    // threads at once; without one the server is honest.
    explicit server(const ip4& address, string secret = {}, script what_to_do = {});
    ~server();
    server(const server&) = delete;
    server& operator=(const server&) = delete;

    // An address of this process's own in the loopback range, with the community's port. Not the same one twice, where
    // the system has a whole range; one server at a time where it has not.
    [[nodiscard]] static ip4 fresh_address();

    void learn(string wire_value, std::vector<std::uint64_t> entry);
    // What happens to connections from now on, before anything else.
    void receive_with(welcome kind);
    // From now on no request is kept: for servers that get millions.
    void keep_nothing();

    // The honest answer: header, indicator and payload.
    [[nodiscard]] behaviour honest(const seen_request& request);
    [[nodiscard]] static string reply_to(const seen_request& request, std::uint32_t indicator, string_view payload);
    // The same, and the payload enciphered as the request was.
    [[nodiscard]] string enciphered_reply_to(const seen_request& request, string_view payload,
                                             std::uint32_t indicator = 0) const;
    [[nodiscard]] static string describe(string_view name, string_view location, string_view info);

    // Blocks until so many requests that are no status probes have come, and returns all of them.
    [[nodiscard]] std::vector<seen_request> wait_for(std::size_t count);
    [[nodiscard]] std::size_t probes();
    [[nodiscard]] std::vector<string> reports(); // payloads of reports with a good digest

private:
    struct visit; // one connection and its thread
    struct late_answers {
        std::vector<answer> answers;
        ip4 peer;
    };
    void serve_datagrams();
    void serve_connections();
    void serve_connection(tackle::internet::transport::tcp::raw& connection);
    void send_late_answers();
    void send(const std::vector<answer>& answers, const ip4& peer);
    void drop_ended_visits();
    [[nodiscard]] seen_request take_apart(const packet& header) const;
    [[nodiscard]] behaviour decide(const seen_request& request);
    void note(const seen_request& request);

    tackle::internet::environment environment_;
    string secret_;
    script script_;
    tackle::mutex lock_;
    knowledge knowledge_;
    std::vector<seen_request> requests_;
    std::vector<string> reports_;
    std::size_t probes_ = 0;
    std::atomic<bool> door_closed_ = false;
    bool keeps_requests_ = true;
    welcome welcome_ = welcome::read;
    std::multimap<std::uint64_t, late_answers> late_; // by the millisecond in which they are due
    tackle::event news_{false};
    tackle::event late_news_{false};
    tackle::event ending_{false};
    tackle::internet::transport::udp::raw datagrams_;
    tackle::internet::transport::udp::raw elsewhere_;
    tackle::internet::transport::tcp::raw door_;
    std::list<visit> visits_;
    std::jthread datagram_thread_;
    std::jthread connection_thread_;
    std::jthread late_thread_;
};

} // namespace brimwarden::community_server
