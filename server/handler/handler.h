#pragma once

#include "community/wire/packet.h"
#include "community/wire/sealing.h"
#include "server/handler/members.h"
#include "server/handler/nonces.h"
#include "server/handler/questions.h"
#include "server/handler/reporting.h"

#include <array>
#include <atomic>
#include <optional>
#include <string>
#include <string_view>

namespace brimwarden::server::handler {

enum class road : std::uint8_t { datagram, connection };

// What an answer's header says; see docs/community-protocol.md.
enum class indicator : std::uint32_t {
    success = 0,
    needs_connection = 1,
    refused = 2,     // credentials
    malformed = 3,   // the body is no request of this operation
    not_allowed = 4, // the member has no such role
    over_limit = 5,  // too many, or too large
    unreadable = 6,  // the message cannot be read
};

struct statistics {
    std::atomic<std::uint64_t> packets{0}, queries{0}, reports{0}, revokes{0}, updates{0}, refused{0}, failed{0};
};

// One packet in, one packet out. Any thread. Knows no socket: what it is given may come from anybody.
class handler {
public:
    handler(const settings& chosen, const members& admitted, questions& asked, reporting& told,
            const knowledge::identity_key& key, const server_clock& clock)
        : settings_(chosen), members_(admitted), questions_(asked), reporting_(told), key_(key), clock_(clock) {}

    // The whole answer. nullopt where silence is the answer: for what is no packet, and for a report that the store
    // could not take, which the client then tries elsewhere. Raises only std::bad_alloc.
    [[nodiscard]] std::optional<std::string> answer(std::string_view bytes, road came_by);

    // The answer that refuses a request of which only the header was kept. nullopt for what is no packet.
    [[nodiscard]] std::optional<std::string> refusal(std::string_view header, indicator reason);

    [[nodiscard]] const statistics& counted() const { return statistics_; }

private:
    using packet = analysis::community::packet;
    struct outcome {
        indicator result = indicator::success;
        std::string body;
        bool silent = false;
    };
    struct opened {
        std::optional<member> who; // nobody for an anonymous query
        std::string payload;
    };

    [[nodiscard]] static std::string reply_to(const packet& request, outcome made);
    [[nodiscard]] outcome decide(packet& request, road came_by);
    [[nodiscard]] std::string status() const;
    [[nodiscard]] std::optional<opened> admit(packet& request) const;
    [[nodiscard]] outcome query(const packet& request, const opened& asked, road came_by);
    [[nodiscard]] outcome message(const packet& request, const opened& told);
    [[nodiscard]] std::uint64_t nonce_key(const packet& request, std::uint32_t id) const;

    const settings& settings_;
    const members& members_;
    questions& questions_;
    reporting& reporting_;
    const knowledge::identity_key& key_;
    const server_clock& clock_;
    nonces nonces_{std::size_t{1} << 16};
    statistics statistics_;
};

} // namespace brimwarden::server::handler
