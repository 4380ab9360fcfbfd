#pragma once

#include "community/packet.h"
#include "foundation/event.h"
#include "foundation/mutex.h"
#include "network/environment.h"
#include "network/ip4.h"
#include "network/tcp_raw.h"
#include "network/udp_raw.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
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
    ip4 peer;
    std::uint64_t credential_mode = 0;
    std::uint64_t credential_id = 0;
    bool digest_good = false;
    string payload; // deciphered, where the digest is good
};

// What a signature's value on the wire, as it stands behind its code, is answered with: the seven numbers of an entry.
using knowledge = std::map<string, std::vector<std::uint64_t>>;

struct answer {
    string bytes;                // of the whole packet, or whatever else
    bool from_elsewhere = false; // a datagram of another address
};

enum class welcome : std::uint8_t {
    read,
    close, // without a word
    reset, // with the request unread
};

struct behaviour {
    std::vector<answer> answers; // one after the other; none is silence
    bool byte_by_byte = false;   // over a connection, each byte sent by itself
    bool left_open = false;      // a connection, until the server ends
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

    // The honest answer: header, indicator and payload.
    [[nodiscard]] behaviour honest(const seen_request& request);
    [[nodiscard]] static string reply_to(const seen_request& request, std::uint32_t indicator, string_view payload);
    // The same, and the payload enciphered as the request was.
    [[nodiscard]] string enciphered_reply_to(const seen_request& request, string_view payload) const;
    [[nodiscard]] static string describe(string_view name, string_view location, string_view info);

    // Blocks until so many requests that are no status probes have come, and returns all of them.
    [[nodiscard]] std::vector<seen_request> wait_for(std::size_t count);
    [[nodiscard]] std::size_t probes();
    [[nodiscard]] std::vector<string> reports(); // payloads of reports with a good digest

private:
    void serve_datagrams();
    void serve_connections();
    class peer_socket;
    void serve_connection(peer_socket& connection);
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
    welcome welcome_ = welcome::read;
    tackle::event news_{false};
    tackle::event ending_{false};
    tackle::internet::transport::udp::raw datagrams_;
    tackle::internet::transport::udp::raw elsewhere_;
    tackle::internet::transport::tcp::raw door_;
    std::vector<std::unique_ptr<peer_socket>> connections_;
    std::vector<std::jthread> workers_; // one for each connection
    std::jthread datagram_thread_;
    std::jthread connection_thread_;
};

} // namespace brimwarden::community_server
