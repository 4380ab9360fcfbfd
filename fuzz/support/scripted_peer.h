#pragma once

#include "foundation/sync/mutex.h"
#include "tests/community_server/community_server.h"

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

// A server of the community at a loopback address of this process's own.
class scripted_peer {
public:
    static constexpr std::string_view secret = "secret";

    scripted_peer();
    void answer_with(scripted_answer answer);
    [[nodiscard]] const std::basic_string<brmx_char>& host() const { return host_; }

private:
    using server = brimwarden::community_server::server;
    [[nodiscard]] brimwarden::community_server::behaviour
    answer_to(server& self, const brimwarden::community_server::seen_request& request);

    std::basic_string<brmx_char> host_;
    tackle::mutex lock_;
    scripted_answer answer_;
    brimwarden::community_server::ip4 address_;
    server peer_;
};
