#include "tests/engine_community/community.h"

#include <algorithm>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

// The community through the exports alone, with a real peer. A program of its own: once a group is set there is no way
// back to an engine without one.
namespace {

using client::behaviour;
using client::community;
using client::generous_ms;
using client::seen_request;
using client::server;
using client::set_group;
using client::small_message;
using client::statistics;
using client::statistics_of;
using client::text;
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

// The tests stand in this order on purpose: they live through the engine's life.

TEST(engine_without_community, keeps_its_state_before_it_runs) {
    EXPECT_EQ(get_state(), "1\rA\r\rA\r");
    EXPECT_EQ(get_state(), "1\rA\r\rA\r1\rA\r\rA\r");
    EXPECT_EQ(BRMX_Engine_SetState(nullptr, 0), null_argument);
    EXPECT_EQ(set_group("localhost"), engine_not_initialized);
    EXPECT_EQ(set_state("1\rF\rlocalhost\rA\r"), engine_not_initialized); // the count has been taken by then
    EXPECT_EQ(BRMX_Engine_Initialize(), status_ok);
    EXPECT_EQ(sessions_made(), 5U);
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
    {"no digit", "1\r!\r\rA\r", status_failed, 1},
    {"padding", "1\rB=A\r\rA\r", status_ok, 64},
    {"no digits", "1\r\r\rA\r", status_ok, 0},
    {"above 32 bits", "1\rEAAAAB\r\rA\r", status_ok, 1},
    {"a bad number behind a group", "1\rD\rlocalhost\r!\r", status_failed, 3},
};

TEST(engine_without_community, reads_the_first_record_of_a_state) {
    for (const auto& c : state_cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(set_state(c.state), c.status);
        EXPECT_EQ(sessions_made(), c.made);
        EXPECT_TRUE(get_state().starts_with(c.state)); // kept, good or bad
    }
    EXPECT_EQ(set_state("1\rA\r\rA\r"), status_ok);
}

std::ptrdiff_t count_lines(std::uint32_t handle, const client::line& line) {
    return std::ranges::count(client::trace_of(handle), line);
}

TEST_F(community, is_unavailable_without_a_group) {
    const auto handle = open_session(small_message);
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
    EXPECT_GE(probability, 0);
    EXPECT_EQ(count_lines(handle, {0, "Executing Request:"}), 0);
    EXPECT_EQ(BRMX_Spam_CommunityReport(handle), community_unavailable);
    EXPECT_EQ(BRMX_Spam_CommunityRevoke(0xFFFF), community_unavailable); // before the session is looked for
    std::uint32_t untouched = 77;
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(1, &untouched, &untouched, &untouched), community_unavailable);
    EXPECT_EQ(untouched, 77U);
    EXPECT_EQ(statistics_of(handle), statistics{});
    EXPECT_EQ(BRMX_Spam_SetCommunityServerGroup(nullptr, 0, 0), null_argument);
}

TEST_F(community, is_asked_and_told_by_a_scan) {
    serve();
    const auto handle = open_member();
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, generous_ms, &probability), status_ok);
    const auto seen = peer().wait_for(2);
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].header.operation, 2U);
    EXPECT_EQ(seen[1].header.operation, 3U);
    EXPECT_EQ(static_cast<std::int32_t>(seen[1].payload[0]), probability);
    std::size_t sent = 0;
    for (const auto& request : seen) {
        EXPECT_TRUE(request.digest_good);
        EXPECT_EQ(request.credential_mode, 1U);
        EXPECT_EQ(request.credential_id, 300U);
        sent += 16 + request.header.body.size();
    }
    EXPECT_EQ(count_lines(handle, {0, "Executing Request:"}), 2);
    const auto counted = statistics_of(handle);
    EXPECT_EQ(counted[0], sent);
    EXPECT_EQ(counted[2] + counted[4], 2U);
    EXPECT_EQ(counted[5], 0U);
}

TEST_F(community, knows_an_address) {
    serve();
    peer().learn(std::string("\xCB\x00\x71\x09", 4), {11, 9, 1, 4, 50, 1, 3}); // blacklisted
    const auto handle = open_member();
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, generous_ms, &probability), status_ok);
    const auto told = peer().wait_for(2)[1].payload;
    EXPECT_EQ(told.substr(1), "\x01\x09"); // one identity, 9
}

TEST_F(community, takes_reports_and_revokes) {
    serve();
    const auto handle = open_member();
    EXPECT_EQ(BRMX_Spam_CommunityReport2(handle, 0, 1), status_ok);
    EXPECT_EQ(BRMX_Spam_CommunityRevoke(handle), status_ok);
    const auto seen = peer().wait_for(2);
    EXPECT_EQ(seen[0].payload[0], '\x01');
    EXPECT_NE(seen[0].payload.find("\r\n\r\nbody\r\n"), std::string::npos);
    EXPECT_EQ(seen[1].header.operation, 5U);
    EXPECT_EQ(seen[1].payload[0], '\0');
    EXPECT_EQ(peer().reports().size(), 1U);
    const auto counted = statistics_of(handle);
    EXPECT_EQ(counted[1], 16U);
    EXPECT_EQ(counted[4], 1U);
    EXPECT_EQ(count_lines(handle, {2, "Transport: Connection"}), 1);
    EXPECT_EQ(BRMX_Spam_CommunityReport(0xFFFFFF), unknown_session);
}

TEST_F(community, refuses_credentials_without_a_secret_or_a_session) {
    EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(1, 1, 1, nullptr, 0), null_argument);
    const brmx_char none = 0;
    EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(0xFFFFFF, 1, 1, &none, 0), unknown_session);
    EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(open_session(small_message), 2, 1, &none, 0), status_ok);
}

TEST_F(community, tells_its_health) {
    serve();
    std::uint32_t reachable = 9;
    std::uint32_t unreachable = 9;
    std::uint32_t latency = 0xFFFFFFFF;
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, &unreachable, &latency), status_ok);
    EXPECT_EQ(reachable, 1U);
    EXPECT_EQ(unreachable, 0U);
    EXPECT_LE(latency, 1000U);
    EXPECT_EQ(set_group("no-such-host.invalid"), status_ok);
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(1, &reachable, &unreachable, &latency), status_ok);
    EXPECT_EQ(reachable + unreachable + latency, 0U);
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(open_member(), generous_ms, &probability), community_discovery_pending);
    EXPECT_EQ(BRMX_Spam_CommunityReport(open_member()), community_discovery_pending);
}

TEST_F(community, comes_back_with_the_state) {
    serve();
    EXPECT_EQ(set_group("no-such-host.invalid", 3600), status_ok);
    EXPECT_EQ(set_state("1\rBAA\r" + host() + "\rA\r"), status_ok);
    EXPECT_EQ(sessions_made(), 4096U);
    EXPECT_EQ(get_state(), "1\rBAA\r" + host() + "\rA\r1\rBAA\r" + host() + "\rA\r");
    std::uint32_t reachable = 0;
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, nullptr, nullptr), status_ok);
    EXPECT_EQ(reachable, 1U);
    const auto handle = open_member();
    EXPECT_EQ(handle, 4097U);
}

#if !defined(_WIN32) && !defined(__SANITIZE_THREAD__) // which knows no threads behind a fork
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

TEST_F(community, ends_with_the_engine) {
    serve();
    EXPECT_EQ(BRMX_Engine_Shutdown(), status_ok);
    EXPECT_EQ(set_group("localhost"), engine_shut_down);
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, nullptr, nullptr, nullptr), engine_shut_down);
    EXPECT_EQ(set_state("1\rA\rlocalhost\rA\r"), engine_shut_down);
    EXPECT_EQ(BRMX_Spam_CommunityReport(1), community_unavailable);
}

} // namespace
