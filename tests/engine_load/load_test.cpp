#include "tests/community_server/community_server.h"
#include "tests/engine/client.h"

#include <atomic>
#include <thread>

// Many clients at once and a bad network. The program ends with the community's threads alive: that has to work, too.
namespace {

using brimwarden::community_server::behaviour;
using brimwarden::community_server::seen_request;
using brimwarden::community_server::server;
using client::text;

constexpr std::uint32_t scanning_threads = 32;
constexpr std::uint32_t scans_each = 12;
constexpr std::uint32_t generous_ms = 120'000;

text wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// Each session comes from an address of its own, which is also the identity that the server knows it by, and the id
// that it signs with.
std::string message_from(std::uint32_t id) {
    const std::string address = "203.1." + std::to_string(id >> 8) + "." + std::to_string(id & 0xFF);
    return "Received: from relay (" + address + ") by here\r\nSubject: x\r\n\r\nbody\r\n";
}

std::string wire_address(std::uint64_t id) {
    return {'\xCB', 1, static_cast<char>(id >> 8), static_cast<char>(id & 0xFF)};
}

// Drops a tenth of the answers, sends a twentieth twice, and keeps a tenth back until the next request has come.
class bad_network {
public:
    behaviour operator()(server& self, const seen_request& request) {
        if (request.header.operation == 0) return self.honest(request);
        if (!request.digest_good || !belongs_together(request)) ++mixed_up;
        const std::uint32_t turn = count_++ % 20;
        if (request.by_connection) return self.honest(request);
        behaviour reply = turn < 2 ? behaviour{} : self.honest(request);
        if (turn == 2) reply.answers.push_back(reply.answers.front());
        // One thread serves the datagrams, so nobody else is here.
        if (turn == 3 || turn == 4) std::swap(reply.answers, kept_);
        return reply;
    }
    std::atomic<std::uint32_t> mixed_up = 0;

private:
    static bool belongs_together(const seen_request& request) {
        const auto id = request.credential_id;
        if (request.header.operation == 2) return request.payload.find(wire_address(id)) != std::string::npos;
        if (request.header.operation != 3) return true;
        brimwarden::community_server::packet told;
        told.body = request.payload;
        std::uint64_t score = 0;
        std::uint64_t count = 0;
        std::uint64_t identity = 0;
        return told.read_number(score) && told.read_number(count) && count == 1 && told.read_number(identity) &&
               identity == id;
    }
    std::atomic<std::uint32_t> count_ = 0;
    std::vector<brimwarden::community_server::answer> kept_; // for somebody else by then, who has to drop it
};

std::uint32_t open_member(std::uint32_t id) {
    const auto handle = client::open(message_from(id));
    const text secret = wide("secret");
    EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(handle, 2, id, secret.data(), 6), status_ok);
    return handle;
}

void set_group(const std::string& host) {
    EXPECT_EQ(BRMX_Spam_SetCommunityServerGroup(wide(host).data(), static_cast<std::uint32_t>(host.size()), 1),
              status_ok);
}

TEST(load, loses_and_mixes_up_nothing) {
    bad_network network;
    const auto address = server::fresh_address();
    server peer(address, "secret", [&](server& self, const seen_request& request) { return network(self, request); });
    constexpr std::uint32_t sessions = scanning_threads * scans_each;
    for (std::uint32_t id = 1; id <= sessions; ++id)
        peer.learn(wire_address(id), {4, id, 1, 0, 5, 5, 5});
    BRMX_Engine_Initialize();
    set_group(address.to_string(tackle::internet::address::numeric_host));

    std::atomic<std::uint32_t> answered = 0;
    std::atomic<bool> done = false;
    std::vector<std::jthread> others;
    others.emplace_back([&] {
        while (!done)
            set_group(address.to_string(tackle::internet::address::numeric_host));
    });
    others.emplace_back([&] {
        while (!done)
            EXPECT_EQ(BRMX_Spam_GetCommunityHealth(1, nullptr, nullptr, nullptr), status_ok);
    });
    others.emplace_back([&] {
        const auto handle = open_member(0xFFFF);
        while (!done) {
            EXPECT_NE(BRMX_Spam_CommunityReport(handle), status_failed);
            EXPECT_NE(BRMX_Spam_CommunityRevoke(handle), status_failed);
        }
        BRMX_Session_Destroy(handle);
    });
    std::vector<std::jthread> scanning;
    for (std::uint32_t thread = 0; thread < scanning_threads; ++thread)
        scanning.emplace_back([&, thread] {
            for (std::uint32_t scan = 0; scan < scans_each; ++scan) {
                const auto handle = open_member(1 + thread * scans_each + scan);
                std::int32_t probability = -1;
                const auto status = BRMX_Spam_GetProbability(handle, generous_ms, &probability);
                // A probe may be lost as well, and the server then counts as silent until the next round; and where
                // the processors are busy, so may all attempts of one request.
                EXPECT_TRUE(status == status_ok || status == community_discovery_pending ||
                            status == community_timed_out)
                    << status;
                EXPECT_GE(probability, 0);
                if (status == status_ok) ++answered;
                EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
            }
        });
    scanning.clear();
    done = true;
    others.clear();
    EXPECT_EQ(network.mixed_up, 0U);
    EXPECT_GT(answered, sessions / 2);
    std::uint32_t open = 77;
    EXPECT_EQ(BRMX_Engine_GetSessionInformation(&open, nullptr), status_ok);
    EXPECT_EQ(open, 0U);
}

} // namespace
