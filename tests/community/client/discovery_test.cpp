#include "community/client/community_client.h"
#include "community/errors.h"
#include "community/wire/sealing.h"
#include "deployment/deployment.h"
#include "tests/community_server/community_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>

namespace brimwarden::analysis::community {
namespace {

using community_server::behaviour;
using community_server::seen_request;
using community_server::server;

string host_of(const ip4& address) { return address.to_string(tackle::internet::address::numeric_host); }

TEST(discovery, a_group_that_does_not_resolve_has_no_servers) {
    community_client client(ip4(0, 0), "no-such-host.invalid", 0);
    client.wait_round_complete();
    server_map servers;
    client.server_snapshot(servers);
    EXPECT_TRUE(servers.empty());
    community_statistics statistics;
    request asked(operation_code::query, statistics);
    trace_list trace;
    EXPECT_THROW(client.execute(asked, false, 1, trace), discovery_pending);
    ASSERT_EQ(trace.size(), 2U);
    EXPECT_EQ(trace[0].text, u"Executing Request:");
    EXPECT_EQ(trace[1].text, u"Operation failed. Discovery found no reachable servers.");
}

// The default host has one address on this machine, and the five that stand in come along.
TEST(discovery, the_default_group_gets_the_fallback_addresses) {
    community_client client(ip4(0, 0), deployment::default_group_host, 0);
    server_map servers;
    client.server_snapshot(servers);
    servers.erase(ip4(0x7F000001, 2409)); // the one that it stands for, if the system knows any
    EXPECT_EQ(servers.size(), deployment::fallback_addresses.size());
    for (const auto& fallback : deployment::fallback_addresses)
        EXPECT_TRUE(servers.contains(ip4::from_numeric(fallback, 2409)));
}

struct status_case {
    const char* label;
    std::uint32_t indicator;
    string body;
    bool reachable;
    std::size_t probes; // each of them an exchange of its own
    tackle::wstring name;
};

TEST(discovery, a_server_is_what_its_status_says) {
    const string whole = server::describe("N", "L", "I");
    const status_case cases[] = {
        {"whole", 0, whole, true, 1, u"N"},
        {"more than whole", 0, whole + "more", true, 1, u"N"},
        {"three counters", 0, whole.substr(0, whole.size() - 1), false, 1, u"N"},
        {"a text cut off", 0, "\x02N", false, 1, u""},
        {"nothing", 0, "", false, 1, u""},
        {"another indicator", 1, whole, false, 1, u""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const ip4 address = server::fresh_address();
        server peer(address, {}, [&](server&, const seen_request& request) {
            return behaviour{{{server::reply_to(request, c.indicator, c.body)}}};
        });
        community_client client(ip4(0, 0), host_of(address), 0);
        client.wait_round_complete();
        server_map servers;
        client.server_snapshot(servers);
        ASSERT_EQ(servers.size(), 1U);
        EXPECT_EQ(servers.begin()->second.reachable, c.reachable);
        EXPECT_EQ(servers.begin()->second.status.name, c.name);
        EXPECT_EQ(servers.begin()->second.latencies.size(), c.indicator == 0 ? 1U : 3U);
    }
}

// Nobody listens: three tries, each as short as the system makes it.
TEST(discovery, a_silent_server_is_unreachable) {
    community_client client(ip4(0, 0), host_of(server::fresh_address()), 0);
    client.wait_round_complete();
    server_map servers;
    client.server_snapshot(servers);
    ASSERT_EQ(servers.size(), 1U);
    EXPECT_FALSE(servers.begin()->second.reachable);
    EXPECT_TRUE(servers.begin()->second.latencies.empty());
}

TEST(discovery, a_client_ends_in_the_middle_of_a_round) {
    for (int round = 0; round < 20; ++round) {
        const ip4 address = server::fresh_address();
        server peer(address, {}, [](server&, const seen_request&) { return behaviour{}; });
        community_client client(ip4(0, 0), host_of(address), 0);
    }
}

TEST(discovery, a_failed_request_starts_a_round) {
    tackle::event second_probe(false);
    std::atomic<int> probes = 0;
    const ip4 address = server::fresh_address();
    server peer(address, {}, [&](server& self, const seen_request& request) {
        if (request.header.operation != 0) return behaviour{};
        if (++probes == 2) second_probe.set();
        return self.honest(request);
    });
    community_client client(ip4(0, 0), host_of(address), 0);
    client.wait_round_complete();
    community_statistics statistics;
    request asked(operation_code::query, statistics);
    trace_list trace;
    EXPECT_THROW(client.execute(asked, false, 1, trace), timed_out);
    (void)second_probe.wait();
}

// Two of the default group answer probes, and only one of them answers anything else. Nobody listens at the others.
TEST(discovery, a_request_moves_on_to_the_next_server) {
    std::unique_ptr<server> silent;
    std::unique_ptr<server> honest;
    try {
        silent =
            std::make_unique<server>(ip4(0x7F000002, 2409), string(), [](server& self, const seen_request& request) {
                return request.header.operation == 0 ? self.honest(request) : behaviour{};
            });
        honest = std::make_unique<server>(ip4(0x7F000003, 2409));
    } catch (const tackle::internet::transport::address_in_use&) {
        GTEST_SKIP() << "these addresses belong to somebody else, or are one, as for Wine";
    }
    community_client client(ip4(0, 0), deployment::default_group_host, 0);
    client.wait_round_complete();
    server_map servers;
    client.server_snapshot(servers);
    EXPECT_EQ(std::ranges::count_if(servers, [](const auto& entry) { return entry.second.reachable; }), 2);
    community_statistics statistics;
    request asked(operation_code::update, statistics);
    asked.key = seal(asked.outgoing, {});
    trace_list trace;
    client.execute(asked, false, 60'000, trace);
    EXPECT_EQ(honest->wait_for(1).size(), 1U);
    EXPECT_EQ(statistics.datagrams_received, 1U);
    EXPECT_LE(statistics.datagrams_sent, 2U);
}

TEST(server_record, keeps_the_last_sixteen_samples) {
    server_record record;
    EXPECT_FALSE(record.best_sample());
    for (std::uint32_t sample = 1; sample <= 17; ++sample)
        record.add_sample(sample);
    EXPECT_EQ(record.latencies.size(), 16U);
    EXPECT_EQ(record.best_sample(), 2U);
}

} // namespace
} // namespace brimwarden::analysis::community
