#pragma once

#include "community/wire/packet.h"
#include "foundation/sync/mutex.h"
#include "network/environment.h"
#include "network/ip4.h"
#include "network/tcp_raw.h"
#include "network/udp_raw.h"

#include <cstdint>
#include <string>

#include "include/brmx.h"

// How a server answers queries and reports: with bytes of the fuzz input.
struct scripted_answer {
    enum class form : std::uint8_t {
        plain,
        enciphered,       // as the request was, so that what is read is `payload`
        over_connections, // datagrams are refused
        raw,              // the payload is the whole packet; datagrams are refused
    };
    form how = form::plain;
    std::uint8_t indicator = 0;
    std::string payload;
};

// A server of the community at a loopback address of this process's own, with two threads and without any memory: it
// stays until the process ends.
class scripted_peer {
public:
    static constexpr std::string_view secret = "secret";

    scripted_peer();
    void answer_with(scripted_answer answer);
    [[nodiscard]] const std::basic_string<brmx_char>& host() const { return host_; }

private:
    using packet = brimwarden::analysis::community::packet;

    void serve_datagrams();
    void serve_connections();
    [[nodiscard]] std::string reply_to(const packet& request, bool by_connection);

    tackle::internet::environment environment_;
    std::basic_string<brmx_char> host_;
    tackle::mutex lock_;
    scripted_answer answer_;
    tackle::internet::transport::udp::raw datagrams_;
    tackle::internet::transport::tcp::raw door_;
};
