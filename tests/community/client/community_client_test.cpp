#include "community/client/community_client.h"

#include "community/errors.h"
#include "tests/community_server/community_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

namespace brimwarden::analysis::community {
namespace {

using community_server::answer;
using community_server::behaviour;
using community_server::seen_request;
using community_server::server;
using community_server::welcome;

constexpr std::uint32_t generous_ms = 60'000; // for operations that are to end long before
const community_credentials member{2, 77, u"s\u00E9cret"};
const string secret = "s\xC3\xA9"
                      "cret";
constexpr char known_link[] = "com.example/a";
const std::vector<std::uint64_t> known_entry = {11, 300, 9, 1, 7, 128, 5};

string host_of(const ip4& address) { return address.to_string(tackle::internet::address::numeric_host); }

struct scan {
    scan() {
        context.signatures.emplace_back(u"hsi", u"192.0.2.1");
        context.signatures.emplace_back(u"tru", u"com.example/a");
    }
    void fill(std::size_t bytes) { // makes the sealed body so much longer; each one has a head of two bytes
        context.signatures.emplace_back(u"tru", tackle::wstring(bytes - 2, u'x'));
    }
    std::vector<tackle::wstring> lines() const {
        std::vector<tackle::wstring> lines;
        for (std::size_t i = 0; i < context.trace.size(); ++i)
            lines.emplace_back(context.trace[i].indent, u'>').append(context.trace[i].text);
        return lines;
    }
    bool has_line(tackle::wstring_view line) const { return std::ranges::count(lines(), line) != 0; }

    tackle::internet::message2::part message{tackle::string_view("Subject: x\r\n\r\nbody\r\n")};
    scan_context context{message};
    community_statistics statistics;
};

// One server at an address of its own, and a client whose group is that address.
struct conversation {
    explicit conversation(server::script what_to_do = {}, std::uint32_t rediscovery_seconds = 0)
        : address(server::fresh_address()), peer(address, secret, std::move(what_to_do)),
          client(ip4(0, 0), host_of(address), rediscovery_seconds) {
        client.wait_round_complete();
    }
    ip4 address;
    server peer;
    community_client client;
};

// Keeps to the honest answer for probes, and does something else for everything else.
server::script only_probes(std::function<behaviour(server&, const seen_request&)> otherwise) {
    return [otherwise = std::move(otherwise)](server& self, const seen_request& request) {
        return request.header.operation == 0 ? self.honest(request) : otherwise(self, request);
    };
}

TEST(community_client, asks_by_datagram_and_reads_the_answer) {
    conversation talk;
    talk.peer.learn(known_link, known_entry);
    scan one;
    talk.client.query(one.context, one.statistics, member, generous_ms);
    EXPECT_TRUE(one.context.community_answered);
    EXPECT_FALSE(one.context.signatures[0].matched);
    EXPECT_TRUE(one.context.signatures[1].matched);
    EXPECT_EQ(one.context.signatures[1].value, u"com.example");
    EXPECT_EQ(one.context.signatures[1].revokes, 128U);
    const auto seen = talk.peer.wait_for(1);
    EXPECT_FALSE(seen[0].by_connection);
    EXPECT_TRUE(seen[0].digest_good);
    EXPECT_EQ(seen[0].credential_mode, 2U);
    EXPECT_EQ(seen[0].credential_id, 77U);
    EXPECT_EQ(one.statistics.datagrams_sent, 1U);
    EXPECT_EQ(one.statistics.datagrams_received, 1U);
    EXPECT_EQ(one.statistics.bytes_sent, 16 + seen[0].header.body.size());
    EXPECT_EQ(one.statistics.bytes_received, 16U + 10U);
    EXPECT_EQ(one.statistics.connections_made + one.statistics.connections_failed, 0U);
}

TEST(community_client, explains_itself_in_the_trace) {
    conversation talk;
    const tackle::string host = host_of(talk.address);
    const tackle::wstring address(host.begin(), host.end());
    scan one;
    one.context.trace.append(0, u"before");
    talk.client.query(one.context, one.statistics, member, generous_ms);
    const auto lines = one.lines();
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[1], u"");
    EXPECT_EQ(lines[2], u"Executing Request:");
    EXPECT_EQ(lines[3], u">Server: Test [" + address + u"]");
    EXPECT_EQ(lines[4], u">>Location:  Loopback");
    EXPECT_TRUE(lines[5].starts_with(u">>Latency:   ") && lines[5].ends_with(u" msec"));
    EXPECT_EQ(lines[6], u">>Transport: Datagram");
}

TEST(community_client, a_server_without_a_description_is_unknown) {
    conversation talk([](server& self, const seen_request& request) {
        if (request.header.operation != 0) return self.honest(request);
        return behaviour{{{server::reply_to(request, 0, server::describe("", "", ""))}}};
    });
    scan one;
    talk.client.query(one.context, one.statistics, member, generous_ms);
    EXPECT_TRUE(one.lines()[1].starts_with(u">Server: [127."));
    EXPECT_EQ(one.lines()[2], u">>Location:  Unknown");
}

TEST(community_client, a_packet_above_512_bytes_goes_over_a_connection) {
    for (const std::size_t more : {0, 1}) {
        SCOPED_TRACE(more);
        conversation talk;
        scan one;
        one.context.signatures.clear();
        // Mode and id 2 bytes, digest 16, count 1, then signatures of a code, a length of two bytes, and their text.
        one.context.signatures.emplace_back(u"tru", tackle::wstring(496 - 19 - 3 + more, u'x'));
        talk.client.query(one.context, one.statistics, member, generous_ms);
        const auto seen = talk.peer.wait_for(1);
        EXPECT_EQ(seen[0].header.body.size(), 496 + more);
        EXPECT_EQ(seen[0].by_connection, more == 1);
        EXPECT_EQ(one.statistics.connections_made, more);
        EXPECT_EQ(one.statistics.datagrams_sent, 1 - more);
        EXPECT_TRUE(one.context.community_answered);
        EXPECT_EQ(one.has_line(u">>Transport: Connection"), more == 1);
    }
}

TEST(community_client, changes_to_a_connection_when_the_server_asks_for_it) {
    conversation talk(only_probes([](server& self, const seen_request& request) {
        return request.by_connection ? self.honest(request) : behaviour{{{server::reply_to(request, 1, "")}}};
    }));
    scan one;
    talk.client.query(one.context, one.statistics, member, generous_ms);
    const auto seen = talk.peer.wait_for(2);
    EXPECT_EQ(seen[0].header.attempt, 0);
    EXPECT_EQ(seen[1].header.attempt, 1);
    EXPECT_EQ(seen[1].header.nonce, seen[0].header.nonce);
    EXPECT_TRUE(one.has_line(u">Switching to connection-oriented mode."));
    EXPECT_TRUE(one.context.community_answered);
}

struct outcome_case {
    const char* label;
    bool by_connection;
    std::uint32_t indicator;
    const char* expected;
};

const outcome_case outcome_cases[] = {
    {"refused credentials", false, 2, "community_client.invalid_credentials[]"},
    {"reserved", false, 3, "community_client.protocol_error[]"},
    {"the last one", false, 7, "community_client.protocol_error[]"},
    {"refused credentials, connection", true, 2, "community_client.invalid_credentials[]"},
    {"asks for a connection on one", true, 1,
     "community_client.protocol_error[received response with malformed indicator]"},
    {"reserved, connection", true, 4, "community_client.protocol_error[]"},
};

TEST(community_client, tells_the_outcome_by_class) {
    for (const auto& c : outcome_cases) {
        SCOPED_TRACE(c.label);
        conversation talk(only_probes([&](server&, const seen_request& request) {
            return behaviour{{{server::reply_to(request, c.indicator, "")}}};
        }));
        scan one;
        try {
            if (c.by_connection)
                talk.client.report(one.context, one.statistics, member, generous_ms, true);
            else
                talk.client.query(one.context, one.statistics, member, generous_ms);
            ADD_FAILURE() << "accepted";
        } catch (const generic& e) {
            EXPECT_STREQ(e.what(), c.expected);
        }
        EXPECT_FALSE(one.context.community_answered);
    }
}

TEST(community_client, report_and_revoke_carry_the_message) {
    conversation talk;
    scan one;
    talk.client.report(one.context, one.statistics, member, 0, true);
    talk.client.revoke(one.context, one.statistics, member, 0, false);
    const auto seen = talk.peer.wait_for(2);
    const string lines = one.message.render_text();
    packet expected;
    expected.write_number(1);
    expected.write_text(lines);
    EXPECT_EQ(talk.peer.reports(), std::vector<string>{expected.body});
    EXPECT_TRUE(seen[0].by_connection && seen[1].by_connection);
    EXPECT_EQ(seen[1].header.operation, 5U);
    EXPECT_EQ(seen[1].payload, '\0' + expected.body.substr(1));
    EXPECT_EQ(one.statistics.connections_made, 2U);
    EXPECT_EQ(one.statistics.bytes_received, 32U);
}

TEST(community_client, a_report_takes_no_body_for_an_answer) {
    conversation talk(only_probes(
        [](server&, const seen_request& request) { return behaviour{{{server::reply_to(request, 0, "x")}}}; }));
    scan one;
    EXPECT_THROW(talk.client.report(one.context, one.statistics, member, 0, true), protocol_error);
}

// Each answer here is wrong in one thing, and the right one follows: only that may count.
TEST(community_client, drops_datagrams_that_do_not_belong_to_the_request) {
    conversation talk(only_probes([](server& self, const seen_request& request) {
        const string bad = string(1, '\x7F');
        behaviour reply;
        seen_request other = request;
        other.header.nonce[9] ^= 1;
        reply.answers.push_back({server::reply_to(other, 0, bad)});
        other = request;
        other.header.attempt = 1;
        reply.answers.push_back({server::reply_to(other, 0, bad)});
        reply.answers.push_back({server::reply_to(request, 0, bad), true});
        reply.answers.push_back({server::reply_to(request, 0, bad).substr(0, 15)});
        reply.answers.push_back({"rvn" + server::reply_to(request, 0, bad).substr(3)});
        reply.answers.push_back(self.honest(request).answers.front());
        reply.answers.push_back(self.honest(request).answers.front()); // and twice
        return reply;
    }));
    scan one;
    talk.client.query(one.context, one.statistics, member, generous_ms);
    EXPECT_TRUE(one.context.community_answered);
    EXPECT_EQ(one.statistics.datagrams_received, 1U);
}

TEST(community_client, an_answer_to_an_earlier_try_does_not_count) {
    std::atomic<int> count = 0;
    seen_request first;
    conversation talk(only_probes([&](server& self, const seen_request& request) {
        if (count++ == 0) {
            first = request;
            return behaviour{};
        }
        behaviour reply = self.honest(first); // late
        reply.answers.push_back(self.honest(request).answers.front());
        return reply;
    }));
    scan one;
    talk.client.query(one.context, one.statistics, member, generous_ms);
    EXPECT_TRUE(one.context.community_answered);
    EXPECT_EQ(one.statistics.datagrams_sent, 2U);
    EXPECT_EQ(one.statistics.datagrams_received, 1U);
}

TEST(community_client, goes_over_to_connections_and_gives_up_at_the_eighth_attempt) {
    conversation talk(only_probes([](server&, const seen_request&) { return behaviour{}; }));
    scan one;
    EXPECT_THROW(talk.client.query(one.context, one.statistics, member, generous_ms), timed_out);
    const auto seen = talk.peer.wait_for(8);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        EXPECT_EQ(seen[i].header.attempt, i);
        EXPECT_EQ(seen[i].by_connection, i >= 2);
    }
    EXPECT_EQ(one.statistics.datagrams_sent, 2U);
    EXPECT_EQ(one.statistics.connections_made, 6U);
    EXPECT_EQ(one.statistics.connections_failed, 0U); // closed in order, though without an answer
    EXPECT_EQ(one.lines().back(), u">Operation failed. Retry limit exceeded.");
}

struct connection_case {
    const char* label;
    welcome kind;
    behaviour reply;
    std::uint32_t made;
    std::uint32_t failed;
};

const connection_case connection_cases[] = {
    {"closed at once", welcome::close, {}, 8, 8},
    {"reset", welcome::reset, {}, 8, 8},
    {"never closed", welcome::read, {{}, false, true}, 8, 8},
    {"half a header", welcome::read, {{{"RVN 123"}}}, 8, 0},
    {"no packet", welcome::read, {{{"HTTP/1.1 400 Bad Request"}}}, 8, 0},
};

TEST(community_client, a_failing_connection_is_tried_again) {
    for (const auto& c : connection_cases) {
        SCOPED_TRACE(c.label);
        conversation talk(only_probes([&](server&, const seen_request&) { return c.reply; }));
        talk.peer.receive_with(c.kind);
        scan one;
        EXPECT_THROW(talk.client.report(one.context, one.statistics, member, 0, true), timed_out);
        EXPECT_LE(one.statistics.connections_made, c.made); // a reset may already meet the request on its way out
        EXPECT_LE(one.statistics.connections_failed, c.failed);
        if (c.kind == welcome::read) {
            EXPECT_EQ(one.statistics.connections_made, c.made);
            EXPECT_EQ(one.statistics.connections_failed, c.failed);
        }
    }
}

TEST(community_client, reads_a_connection_byte_by_byte) {
    conversation talk(only_probes([](server& self, const seen_request& request) {
        behaviour reply = self.honest(request);
        reply.byte_by_byte = true;
        reply.answers.push_back({"\x01"});
        return reply;
    }));
    scan one;
    one.fill(600);
    EXPECT_THROW(talk.client.query(one.context, one.statistics, member, generous_ms), protocol_error);
    EXPECT_EQ(one.statistics.bytes_received, 16U + 3U + 1U);
}

TEST(community_client, timeout_0_asks_once_by_datagram) {
    conversation talk(only_probes([](server&, const seen_request&) { return behaviour{}; }));
    scan one;
    EXPECT_THROW(talk.client.query(one.context, one.statistics, member, 0), protocol_error); // nothing to read
    one.context.signatures.clear();
    talk.client.query(one.context, one.statistics, member, 0); // which is just what no signatures are answered with
    one.context.community_answered = false;
    talk.client.update(one.context, one.statistics, member, generous_ms);
    EXPECT_EQ(one.statistics.datagrams_sent, 3U);
    EXPECT_EQ(one.lines().back(), u">>Transport: Datagram");
}

TEST(community_client, the_time_is_looked_at_before_each_attempt) {
    conversation talk(only_probes([](server&, const seen_request&) { return behaviour{}; }));
    scan one;
    EXPECT_THROW(talk.client.query(one.context, one.statistics, member, 1), timed_out);
    EXPECT_EQ(one.statistics.datagrams_sent, 1U);
    EXPECT_EQ(one.lines().back(), u">Operation failed. Timeout expired.");
}

TEST(community_client, tells_the_result_to_the_community) {
    conversation talk;
    scan one;
    one.context.probability = 99.99F;
    one.context.signatures[1].matched = true;
    one.context.signatures[1].id = 300;
    talk.client.update(one.context, one.statistics, member, 0);
    EXPECT_EQ(talk.peer.wait_for(1)[0].payload, string("\x63\x01\x82\x2C"));
}

} // namespace
} // namespace brimwarden::analysis::community
