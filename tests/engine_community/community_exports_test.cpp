#include "tests/engine/life.h"
#include "tests/engine_community/community.h"

#include <algorithm>
#include <thread>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

// The community through the exports alone, with a real peer. Once a group is set there is no way back to an engine
// without one, so what comes before is a life of its own.
namespace {

using client::behaviour;
using client::community;
using client::generous_ms;
using client::seen_request;
using client::server;
using client::set_group;
using client::statistics_of;
using client::wide;

engine_status set_state(std::string_view state) {
    return BRMX_Engine_SetState(wide(state).data(), static_cast<std::uint32_t>(state.size()));
}

std::string get_state() {
    const brmx_char* state = nullptr;
    std::uint32_t length = 0;
    EXPECT_EQ(BRMX_Engine_GetState(&state, &length), status_ok);
    return {state, state + length};
}

std::uint32_t sessions_made() {
    std::uint32_t made = 0;
    EXPECT_EQ(BRMX_Engine_GetSessionInformation(nullptr, &made), status_ok);
    return made;
}

struct state_case {
    const char* label;
    const char* state;
    engine_status status;
    std::uint32_t made; // afterwards
};

const state_case state_cases[] = {
    {"four fields", "1\rI\r\rA\r", status_ok, 8},
    {"the first of two records", "1\rJ\r\rA\r1\rK\r\rA\r", status_ok, 9},
    {"the end of the text as end of a field", "1\rB\r\r", status_ok, 1},
    {"three fields", "1\rC\r", status_failed, 1},
    {"nothing", "", status_failed, 1},
    {"another format", "2\rA\r\rA\r", status_failed, 1},
    {"a longer format", "11\rA\r\rA\r", status_failed, 1},
    {"not a digit", "1\r!\r\rA\r", status_failed, 1},
    {"padding", "1\rB=A\r\rA\r", status_ok, 64},
    {"an empty number", "1\r\r\rA\r", status_ok, 0},
    {"above 32 bits", "1\rEAAAAB\r\rA\r", status_ok, 1},
    {"a bad interval after a group", "1\rD\rlocalhost\r!\r", status_failed, 3},
};

void keep_state_without_a_community() {
    EXPECT_EQ(get_state(), "1\rA\r\rA\r");
    EXPECT_EQ(get_state(), "1\rA\r\rA\r1\rA\r\rA\r");
    EXPECT_EQ(set_state("1\rF\rlocalhost\rA\r"), engine_not_initialized); // the count has been taken by then
    EXPECT_EQ(BRMX_Engine_Initialize(), status_ok);
    EXPECT_EQ(sessions_made(), 5U);
    for (const auto& c : state_cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(set_state(c.state), c.status);
        EXPECT_EQ(sessions_made(), c.made);
        EXPECT_TRUE(get_state().starts_with(c.state)); // kept, good or bad
    }
    const auto handle = client::open(client::small_message);
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
    EXPECT_EQ(std::ranges::count(client::trace_of(handle), client::line(0, "Executing Request:")), 0);
    EXPECT_EQ(statistics_of(handle), client::statistics{});
}

TEST(engine_without_community, keeps_its_state) { EXPECT_LIFE(keep_state_without_a_community); }

TEST_F(community, is_asked_and_told_by_a_scan) {
    serve();
    peer().learn(std::string("\xCB\x00\x71\x09", 4), {11, 9, 1, 4, 50, 1, 3}); // blacklisted
    const auto handle = open_member();
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, generous_ms, &probability), status_ok);
    const auto seen = peer().wait_for(2);
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].header.operation, 2U);
    EXPECT_EQ(seen[1].header.operation, 3U);
    EXPECT_EQ(seen[1].payload, static_cast<char>(probability) + std::string("\x01\x09")); // one identity, 9
    for (const auto& request : seen) {
        EXPECT_TRUE(request.digest_good);
        EXPECT_EQ(request.credential_mode, 1U);
        EXPECT_EQ(request.credential_id, 300U);
    }
}

TEST_F(community, takes_reports_and_revokes) {
    serve();
    const auto handle = open_member();
    EXPECT_EQ(BRMX_Spam_CommunityReport2(handle, 0, 1), status_ok);
    EXPECT_EQ(BRMX_Spam_CommunityRevoke(handle), status_ok);
    const auto seen = peer().wait_for(2);
    EXPECT_EQ(seen[0].header.operation, 4U);
    EXPECT_EQ(seen[0].payload[0], '\x01');
    EXPECT_NE(seen[0].payload.find("\r\n\r\nbody\r\n"), std::string::npos);
    EXPECT_EQ(seen[1].header.operation, 5U);
    EXPECT_EQ(seen[1].payload, '\0' + seen[0].payload.substr(1));
    EXPECT_TRUE(seen[0].by_connection && seen[1].by_connection);
}

struct status_case {
    const char* label;
    std::uint32_t indicator;
    std::string body;
    bool reachable;
    std::size_t probes;
};

TEST_F(community, counts_a_server_as_its_status_says) {
    const std::string whole = server::describe("", "", "I");
    const status_case cases[] = {
        {"whole", 0, whole, true, 1},
        {"more than whole", 0, whole + "more", true, 1},
        {"three counters", 0, whole.substr(0, whole.size() - 1), false, 1},
        {"a text cut off", 0, "\x02N", false, 1},
        {"nothing", 0, "", false, 1},
        {"another indicator", 1, whole, false, 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        serve([&](server& self, const seen_request& request) {
            if (request.header.operation != 0) return self.honest(request);
            return behaviour{{{server::reply_to(request, c.indicator, c.body)}}};
        });
        std::uint32_t reachable = 9, unreachable = 9, latency = 0xFFFFFFFF;
        EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, &unreachable, &latency), status_ok);
        EXPECT_EQ(reachable, c.reachable ? 1U : 0U);
        EXPECT_EQ(unreachable, c.reachable ? 0U : 1U);
        EXPECT_LE(latency, 1000U);
        while (peer().probes() < c.probes) // the last may still be on its way
            std::this_thread::yield();
        if (!c.reachable) continue;
        const auto handle = open_member();
        EXPECT_EQ(BRMX_Spam_CommunityReport(handle), status_ok);
        const auto lines = client::trace_of(handle);
        EXPECT_EQ(std::ranges::count(lines, client::line(1, "Server: [" + host() + "]")), 1); // without a name
        EXPECT_EQ(std::ranges::count(lines, client::line(2, "Location:  Unknown")), 1);
    }
}

TEST_F(community, may_have_no_servers) {
    EXPECT_EQ(set_group("no-such-host.invalid"), status_ok);
    std::uint32_t reachable = 9, unreachable = 9, latency = 9;
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, &unreachable, &latency), status_ok);
    EXPECT_EQ(reachable + unreachable + latency, 0U);
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(open_member(), generous_ms, &probability), community_discovery_pending);
    EXPECT_EQ(BRMX_Spam_CommunityReport(open_member()), community_discovery_pending);
}

// Two of the default group answer probes, and only one of them answers anything else. The five fallback addresses join
// the group's own, which is 127.0.0.1 or nothing. Nobody listens at the others.
TEST_F(community, moves_a_request_on_to_the_next_server) {
    std::unique_ptr<server> silent, honest;
    try {
        const tackle::internet::environment layer;
        silent = std::make_unique<server>(brimwarden::community_server::ip4(0x7F000002, 2409), "secret",
                                          [](server& self, const seen_request& request) {
                                              return request.header.operation == 0 ? self.honest(request) : behaviour{};
                                          });
        honest = std::make_unique<server>(brimwarden::community_server::ip4(0x7F000003, 2409), "secret");
    } catch (const tackle::internet::transport::address_in_use&) {
        GTEST_SKIP() << "these addresses belong to somebody else, or are one, as for Wine";
    }
    ASSERT_EQ(set_group("localhost"), status_ok);
    std::uint32_t reachable = 0, unreachable = 0;
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, &unreachable, nullptr), status_ok);
    EXPECT_EQ(reachable, 2U);
    EXPECT_TRUE(unreachable == 3 || unreachable == 4) << unreachable;
    const auto handle = open_member();
    EXPECT_EQ(BRMX_Spam_CommunityReport(handle), status_ok);
    EXPECT_EQ(honest->reports().size(), 1U);
    EXPECT_LE(statistics_of(handle)[4], 2U);
}

TEST_F(community, is_looked_for_again_after_the_interval_or_never) {
    serve();
    const auto handle = open_member();
    EXPECT_EQ(BRMX_Spam_CommunityReport(handle), status_ok); // takes longer than a round
    EXPECT_EQ(peer().probes(), 1U);
    EXPECT_EQ(set_group(host(), 1), status_ok);
    while (peer().probes() < 4)
        std::this_thread::yield();
}

TEST_F(community, can_be_left_in_the_middle_of_a_round) {
    serve();
    for (int round = 0; round < 20; ++round)
        EXPECT_EQ(set_group(round % 2 == 0 ? "127.255.255.255" : host()), status_ok);
}

TEST_F(community, comes_back_with_the_state) {
    serve();
    EXPECT_EQ(set_group("no-such-host.invalid", 3600), status_ok);
    const std::string state = "1\rBAA\r" + host() + "\rA\r";
    EXPECT_EQ(set_state(state), status_ok);
    EXPECT_EQ(get_state(), state + state);
    std::uint32_t reachable = 0;
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, nullptr, nullptr), status_ok);
    EXPECT_EQ(reachable, 1U);
    EXPECT_EQ(open_member(), 4097U);
}

#if !defined(_WIN32) && !defined(__SANITIZE_THREAD__) // which knows no threads after a fork
TEST_F(community, of_a_parent_is_not_touched_by_its_child) {
    serve();
    const auto scan = [&] {
        std::int32_t probability = -1;
        return BRMX_Spam_GetProbability(open_member(), generous_ms, &probability);
    };
    for (const bool joins : {false, true}) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            bool good = scan() == community_unavailable;
            good = good && BRMX_Spam_GetCommunityHealth(0, nullptr, nullptr, nullptr) == community_unavailable;
            if (joins)
                good = good && set_group(host()) == status_ok &&
                       BRMX_Spam_GetCommunityHealth(0, nullptr, nullptr, nullptr) == status_ok && scan() == status_ok;
            _exit(good && BRMX_Engine_Shutdown() == status_ok ? 0 : 1);
        }
        int outcome = -1;
        ASSERT_EQ(waitpid(child, &outcome, 0), child);
        EXPECT_EQ(outcome, 0) << joins;
        const auto handle = open_member();
        std::int32_t probability = -1;
        EXPECT_EQ(BRMX_Spam_GetProbability(handle, generous_ms, &probability), status_ok) << joins;
        EXPECT_GE(statistics_of(handle)[3], 1U) << joins; // by datagram: the socket is open, and the thread receives
    }
}
#endif

void end_with_a_community() {
    EXPECT_EQ(BRMX_Engine_Initialize(), status_ok);
    EXPECT_EQ(set_group("localhost"), status_ok);
    EXPECT_EQ(BRMX_Engine_Shutdown(), status_ok);
    EXPECT_EQ(set_group("localhost"), engine_shut_down);
    EXPECT_EQ(set_state("1\rA\rlocalhost\rA\r"), engine_shut_down);
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, nullptr, nullptr, nullptr), engine_shut_down);
    EXPECT_EQ(BRMX_Spam_CommunityReport(1), community_unavailable);
}

TEST(engine_with_community, ends_with_it) { EXPECT_LIFE(end_with_a_community); }

} // namespace
