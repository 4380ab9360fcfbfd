#include "tests/engine_community/community.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#ifndef _WIN32
#include <sys/resource.h>
#endif

// What can go wrong between the library and a server, each with its status, its traffic and its explanation.
namespace {

using brimwarden::community_server::welcome;
using client::behaviour;
using client::seen_request;
using client::server;

enum class call : std::uint8_t { scan, large_scan, report, huge_report, revoke };

using decision = std::function<behaviour(server&, const seen_request&)>;

behaviour say(const seen_request& request, std::uint32_t indicator, std::string_view payload = {}) {
    return {{{server::reply_to(request, indicator, payload)}}};
}
decision always(std::uint32_t indicator, const std::string& payload = {}) {
    return [=](server&, const seen_request& request) { return say(request, indicator, payload); };
}
decision raw(const std::string& bytes) {
    return [=](server&, const seen_request&) { return behaviour{{{bytes}}}; };
}
behaviour keep_silent(server&, const seen_request&) { return {}; }
behaviour be_honest(server& self, const seen_request& request) { return self.honest(request); }
// Honest, but for the answers to one operation.
decision to(std::uint32_t operation, const decision& otherwise) {
    return [=](server& self, const seen_request& request) {
        return request.header.operation == operation ? otherwise(self, request) : self.honest(request);
    };
}
// Honest, but in how the bytes are sent.
decision send(bool byte_by_byte, bool left_open, std::uint32_t gap_ms = 0, unsigned zeros = 0) {
    return [=](server& self, const seen_request& request) {
        behaviour reply = self.honest(request);
        reply.byte_by_byte = byte_by_byte;
        reply.left_open = left_open;
        reply.gap_ms = gap_ms;
        if (zeros != 0) reply.answers.push_back({std::string(1 << 16, '\0'), false, zeros >> 16});
        return reply;
    };
}

constexpr auto generous = client::generous_ms;
constexpr std::uint32_t query = 2;
constexpr std::uint32_t update = 3;

std::string zeros(std::size_t count) { return std::string(count, '\0'); }

// The exchange as letters: D and C for an attempt by datagram or connection, S for the change to connections, and the
// end of one that failed: T for time, L for the limit of attempts, N for no server. A bar is before the update.
struct failure_case {
    const char* label;
    call made;
    std::uint32_t timeout_ms;
    decision decide; // for all but probes
    engine_status status;
    const char* exchange;
    std::uint32_t datagrams_sent, datagrams_received, connections_made, connections_failed;
    welcome door = welcome::read;
};

const failure_case cases[] = {
    {"all is well", call::scan, generous, be_honest, status_ok, "D|D", 2, 2, 0, 0},
    {"more than a datagram takes", call::large_scan, generous, be_honest, status_ok, "C|D", 1, 1, 1, 0},
    {"an answer in the clear", call::scan, generous, to(query, always(0, zeros(2))), status_ok, "D|D", 2, 2, 0, 0},
    {"silence", call::scan, generous, keep_silent, community_timed_out, "DDCCCCCCL", 2, 0, 6, 0},
    {"silence and no time", call::scan, 1, keep_silent, community_timed_out, "DT", 1, 0, 0, 0},
    {"silence to a single question", call::scan, 0, keep_silent, community_protocol_error, "D", 1, 0, 0, 0},
    {"silence to the update", call::scan, generous, to(update, keep_silent), status_ok, "D|D", 2, 1, 0, 0},
    {"an error for the update", call::scan, generous, to(update, always(7)), status_ok, "D|D", 2, 2, 0, 0},
    {"the query by connection, please", call::scan, generous,
     [](server& self, const seen_request& r) {
         return r.header.operation == query && !r.by_connection ? say(r, 1) : self.honest(r);
     },
     status_ok, "DSC|D", 2, 2, 1, 0},
    {"by connection, on a connection", call::scan, generous, always(1), community_protocol_error, "DSC", 1, 1, 1, 0},
    {"credentials", call::scan, generous, always(2), community_invalid_credentials, "D", 1, 1, 0, 0},
    {"a server's error", call::scan, generous, always(3), community_protocol_error, "D", 1, 1, 0, 0},
    {"the last indicator", call::scan, generous, always(7), community_protocol_error, "D", 1, 1, 0, 0},
    {"credentials, by connection", call::large_scan, generous, always(2), community_invalid_credentials, "C", 0, 0, 1,
     0},
    {"no entries", call::scan, generous, always(0), community_protocol_error, "D", 1, 1, 0, 0},
    {"the end in an entry", call::scan, generous, always(0, "\x0A\x07" + zeros(4)), community_protocol_error, "D", 1, 1,
     0, 0},
    {"a match longer than the value", call::scan, generous, always(0, "\x0C\x07" + zeros(7)), community_protocol_error,
     "D", 1, 1, 0, 0},
    {"a byte too many", call::scan, generous, always(0, zeros(3)), community_protocol_error, "D", 1, 1, 0, 0},
    {"silence and a closed port", call::scan, generous, keep_silent, community_timed_out, "DDCCCCCCL", 2, 0, 0, 6,
     welcome::refuse},
    {"a message taken", call::report, 0, be_honest, status_ok, "C", 0, 0, 1, 0},
    {"a message taken byte by byte", call::revoke, 0, send(true, false), status_ok, "C", 0, 0, 1, 0},
    {"a message asked for by connection", call::report, 0, always(1), community_protocol_error, "C", 0, 0, 1, 0},
    {"a message of a stranger", call::revoke, 0, always(2), community_invalid_credentials, "C", 0, 0, 1, 0},
    {"a message nobody wants", call::report, 0, always(5), community_protocol_error, "C", 0, 0, 1, 0},
    {"a message with an answer", call::report, 0, always(0, "x"), community_protocol_error, "C", 0, 0, 1, 0},
    {"half a header", call::report, 0, raw("RVN\3"), community_timed_out, "CCCCCCCCL", 0, 0, 8, 0},
    {"another protocol", call::report, 0, raw("HTTP/1.1 400 Bad Request\r\n\r\n"), community_timed_out, "CCCCCCCCL", 0,
     0, 8, 0},
    {"an answer that never ends", call::report, 1, send(false, true), community_timed_out, "CT", 0, 0, 1, 1},
    {"an answer of one byte each 30 ms", call::report, 200, send(true, true, 30), community_timed_out, "CT", 0, 0, 1,
     1},
    {"an answer of half a gigabyte", call::report, generous, send(false, true, 0, 1 << 29), community_protocol_error,
     "C", 0, 0, 1, 0},
    {"a message that is never read", call::huge_report, 200, be_honest, community_timed_out, "CT", 0, 0, 0, 1,
     welcome::ignore},
    {"a closed port", call::revoke, 0, be_honest, community_timed_out, "CCCCCCCCL", 0, 0, 0, 8, welcome::refuse},
};

std::string letters_of(std::uint32_t handle, std::string_view server_line) {
    std::string letters;
    bool of_exchange = false;
    for (const auto& [indent, line] : client::trace_of(handle)) {
        if (indent == 0) {
            of_exchange = line == "Executing Request:";
            if (of_exchange && !letters.empty()) letters += '|';
        } else if (!of_exchange || line.starts_with("Location:  Loopback") || line == "Location:  Unknown" ||
                   line.starts_with("Latency:   ")) {
        } else if (line.starts_with("Server: ")) {
            EXPECT_EQ(line, server_line);
        } else if (line.starts_with("Transport: ")) {
            letters += line[11];
        } else if (line == "Operation failed. Retry limit exceeded.") {
            letters += 'L';
        } else if (line == "Operation failed. Discovery found no reachable servers.") {
            letters += 'N';
        } else if (line.starts_with("Operation failed. ") || line == "Switching to connection-oriented mode.") {
            letters += line[line[0] == 'S' ? 0 : 18];
        } else {
            ADD_FAILURE() << line;
        }
    }
    return letters;
}

std::string message_of(call made) {
    std::string message(client::small_message);
    if (made == call::huge_report) message.append(std::size_t{32} << 20, 'x'); // more than sockets keep
    for (int link = 0; made == call::large_scan && link < 40; ++link)
        message += "http://shop" + std::to_string(link) + ".example.com/offer\r\n";
    return message;
}

class failure : public client::community {
protected:
    engine_status make(const failure_case& c, std::uint32_t handle) {
        std::int32_t probability = -1;
        switch (c.made) {
        case call::report:
        case call::huge_report:
            return BRMX_Spam_CommunityReport2(handle, c.timeout_ms, 1);
        case call::revoke:
            return BRMX_Spam_CommunityRevoke2(handle, c.timeout_ms, 0);
        case call::scan:
        case call::large_scan:
            break;
        }
        const auto status = BRMX_Spam_GetProbability(handle, c.timeout_ms, &probability);
        EXPECT_TRUE(probability >= 0 && probability <= 100) << probability;
        return status;
    }
    std::string server_line() const { return "Server: Test [" + host() + "]"; }
};

TEST_F(failure, ends_in_its_status_with_its_statistics_and_trace) {
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::atomic<std::uint32_t> answered = 0; // bytes that the library gets to the end of
        serve([&](server& self, const seen_request& request) {
            if (request.header.operation == 0) return self.honest(request);
            behaviour reply = c.decide(self, request);
            for (const auto& part : reply.answers)
                if (!reply.left_open) answered += static_cast<std::uint32_t>(part.bytes.size());
            return reply;
        });
        peer().receive_with(c.door);
        const auto handle = open_member(message_of(c.made));
        EXPECT_EQ(make(c, handle), c.status);
        EXPECT_EQ(letters_of(handle, server_line()), c.exchange);
        const auto counted = client::statistics_of(handle);
        EXPECT_EQ(counted[1], answered);
        EXPECT_EQ(counted[2], c.datagrams_sent);
        EXPECT_EQ(counted[3], c.datagrams_received);
        EXPECT_EQ(counted[4], c.connections_made);
        EXPECT_EQ(counted[5], c.connections_failed);
        std::size_t sent = 0;
        for (const auto& request : peer().wait_for(counted[2] + counted[4]))
            sent += request.header.header_size + request.header.body.size();
        EXPECT_EQ(counted[0], sent);
        EXPECT_TRUE(c.datagrams_sent != 0 || counted[6] == 0);
    }
}

// Each answer here is wrong in one thing, and the right one follows: only that counts.
TEST_F(failure, of_answers_that_do_not_belong_to_the_request) {
    std::atomic<int> queries = 0;
    seen_request first;
    serve([&](server& self, const seen_request& request) {
        behaviour reply = self.honest(request);
        if (request.header.operation != query) return reply;
        if (queries++ == 0) {
            first = request;
            return behaviour{};
        }
        const std::string bad = server::reply_to(request, 2, {});
        seen_request other = request;
        other.header.nonce[9] ^= 1;
        const auto late = self.honest(first).answers.front(); // to the attempt before
        reply.answers = {late,
                         {server::reply_to(other, 2, {})},
                         {bad, true},
                         {bad.substr(0, 15)},
                         {"rvn" + bad.substr(3)},
                         reply.answers.front(),
                         reply.answers.front()};
        return reply;
    });
    const auto handle = open_member();
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, generous, &probability), status_ok);
    EXPECT_EQ(letters_of(handle, server_line()), "DD|D");
    EXPECT_EQ(client::statistics_of(handle)[3], 2U);
}

TEST_F(failure, of_datagrams_begins_above_512_bytes) {
    serve();
    bool seen[2] = {};
    for (std::size_t path = 1; path <= 24; ++path) { // a segment of a link may have so many units
        std::string message(client::small_message);
        for (int link = 10; link < 27; ++link)
            message += "http://shop" + std::to_string(link) + ".example.com/" +
                       std::string(link == 10 ? path : 5, 'x') + "\r\n";
        const auto handle = open_member(message);
        std::int32_t probability = -1;
        EXPECT_EQ(BRMX_Spam_GetProbability(handle, generous, &probability), status_ok);
        const auto asked = peer().wait_for(2 * path)[2 * path - 2];
        const auto size = asked.header.header_size + asked.header.body.size();
        EXPECT_EQ(asked.by_connection, size > 512) << size;
        if (size == 512 || size == 513) seen[size - 512] = true;
    }
    EXPECT_TRUE(seen[0] && seen[1]);
}

// A request learns at once where the system tells that nobody listens any more, and never gets another datagram.
TEST_F(failure, of_a_server_that_went_away) {
    serve();
    end_server();
    const auto handle = open_member();
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, client::generous_ms, &probability), community_timed_out);
    EXPECT_GE(probability, 0);
    EXPECT_EQ(letters_of(handle, server_line()), "DDCCCCCCL");
    auto counted = client::statistics_of(handle);
    EXPECT_EQ(counted[2], 2U);
    EXPECT_EQ(counted[5], 6U);
    // The round that the failures have started finds that out, too.
    for (std::uint32_t reachable = 1; reachable != 0;)
        EXPECT_EQ(BRMX_Spam_GetCommunityHealth(1, &reachable, nullptr, nullptr), status_ok);
    EXPECT_EQ(BRMX_Spam_CommunityReport(handle), community_discovery_pending);
    EXPECT_EQ(letters_of(handle, {}), "N");
    counted = client::statistics_of(handle);
    EXPECT_EQ(counted, client::statistics{});
}

// The broadcast address of the loopback network: no datagram may go there, and no connection can. Until its first round
// is over, which takes seconds, the client takes the server for reachable.
TEST_F(failure, of_the_network_itself) {
    EXPECT_EQ(client::set_group("127.255.255.255"), status_ok);
    const auto handle = open_member();
    std::int32_t probability = -1;
#ifdef _WIN32
    // What the system refuses by itself is a failure of the operation, which leaves everything as it was.
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, client::generous_ms, &probability), status_failed);
    EXPECT_EQ(probability, -1);
    EXPECT_TRUE(client::trace_of(handle).empty());
    EXPECT_EQ(client::statistics_of(handle), client::statistics{});
#endif
    EXPECT_EQ(BRMX_Spam_CommunityReport(handle), community_timed_out);
    EXPECT_EQ(client::statistics_of(handle)[5], 8U);
#ifndef _WIN32
    // A datagram that the system does not take is lost.
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, client::generous_ms, &probability), community_timed_out);
    EXPECT_GE(probability, 0);
    EXPECT_EQ(letters_of(handle, "Server: [127.255.255.255]"), "DDCCCCCCL");
    std::uint32_t reachable = 1;
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, nullptr, nullptr), status_ok);
    EXPECT_EQ(reachable, 0U);
#endif
}

// One operation at a time: whoever comes while a session waits for a server is told so, and changes nothing.
TEST_F(failure, of_a_second_caller) {
    serve([](server& self, const seen_request& request) {
        behaviour reply = self.honest(request);
        reply.left_open = request.header.operation != 0;
        return reply;
    });
    const auto handle = open_member();
    std::jthread first([&] { EXPECT_EQ(BRMX_Spam_CommunityReport2(handle, 1, 0), community_timed_out); });
    (void)peer().wait_for(1);
    std::int32_t probability = -1;
    const brmx_char none = 0;
    std::uint32_t counter = 77;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), session_busy);
    EXPECT_EQ(BRMX_Spam_CommunityRevoke(handle), session_busy);
    EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(handle, 1, 1, &none, 0), session_busy);
    EXPECT_EQ(BRMX_Spam_GetCommunityStatistics(handle, &counter, &counter, &counter, &counter, &counter), session_busy);
    EXPECT_EQ(counter, 77U);
    EXPECT_EQ(probability, -1);
    first.join();
    const auto counted = client::statistics_of(handle);
    client::statistics five{};
    EXPECT_EQ(BRMX_Spam_GetCommunityStatistics(handle, &five[0], &five[1], &five[2], &five[3], &five[6]), status_ok);
    EXPECT_EQ(five, (client::statistics{counted[0], counted[1], counted[2], counted[3], 0, 0, counted[6]}));
    EXPECT_EQ(counted[4], 1U);
}

#ifndef _WIN32
// No server is to blame for that, so nothing is tried again. A group is remembered by then, and the client before it
// goes on.
TEST_F(failure, of_a_system_without_sockets) {
    serve();
    const auto handle = open_member();
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_EQ(BRMX_Spam_CommunityReport(handle), status_failed);
    EXPECT_EQ(client::set_group("localhost", 5), status_failed);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_TRUE(client::trace_of(handle).empty());
    std::uint32_t reachable = 0;
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, nullptr, nullptr), status_ok);
    EXPECT_EQ(reachable, 1U);
    const brmx_char* state = nullptr;
    std::uint32_t length = 0;
    EXPECT_EQ(BRMX_Engine_GetState(&state, &length), status_ok);
    EXPECT_TRUE(client::text(state, length).ends_with(client::wide("\rlocalhost\rF\r")));
}
#endif

} // namespace
