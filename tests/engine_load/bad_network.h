#pragma once

#include "tests/community_server/community_server.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <vector>

// A server behind a bad network: a tenth of its answers is lost, a tenth comes late, a twentieth twice. What it knows
// of a signature follows from the signature alone, so an answer that lands in another scan shows. The last attempt of a
// request always has its answer at once: by chance one request of a hundred million would lose all eight, and a long
// run makes millions.
class bad_network {
public:
    using behaviour = brimwarden::community_server::behaviour;
    using seen_request = brimwarden::community_server::seen_request;
    using server = brimwarden::community_server::server;

    // Reports and revokes come with this mode and the number of their message as id. Scans come with the number of
    // their thread as mode, and with an id that rises from scan to scan.
    static constexpr std::uint64_t report_mode = 1'000'000;

    // Every datagram takes so long to be answered. The library waits for as long, and 100 ms more: where programs run
    // slowly, a server far away gives them the time that they need.
    explicit bad_network(std::uint32_t answer_ms) : distance_ms_(answer_ms) {}

    behaviour operator()(server& self, const seen_request& request);

    std::atomic<std::uint64_t> lost = 0;
    std::atomic<std::uint64_t> late = 0;
    std::atomic<std::uint64_t> doubled = 0;
    std::atomic<std::uint64_t> mixed_up = 0; // requests whose parts do not belong together
    std::atomic<std::uint64_t> repeated = 0; // datagrams that came twice, which the library never sends

private:
    using identity_list = std::vector<std::uint64_t>;
    using told = std::map<std::uint64_t, identity_list>; // by scan, the last few

    behaviour answer_query(server& self, const seen_request& request);
    bool update_fits(const seen_request& request);
    bool message_fits(const seen_request& request);
    void spoil(const seen_request& request, behaviour& reply);
    void count_repetition(const seen_request& request);

    tackle::mutex lock_;
    const std::uint32_t distance_ms_;
    std::map<std::uint64_t, told> last_told_;         // by thread
    std::map<std::uint64_t, std::uint64_t> messages_; // hash of what was reported, by the message's number
    std::deque<std::string> recent_;                  // nonce and attempt of the last datagrams
    std::atomic<std::uint64_t> turn_ = 0;
};

[[nodiscard]] std::uint64_t hash_of(std::string_view bytes, std::uint64_t start = 0);
