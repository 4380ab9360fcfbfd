#pragma once

#include "tests/community_server/community_server.h"
#include "tests/engine/client.h"
#include "tests/engine_community/slow_target.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>

// What tests of the exports need that talk to a real peer.
namespace client {

using brimwarden::community_server::behaviour;
using brimwarden::community_server::seen_request;
using brimwarden::community_server::server;

// Two signatures: an address and the hash of the body.
constexpr std::string_view small_message =
    "Received: from relay (203.0.113.9) by here\r\nFrom: a@b.example\r\nTo: c@d.example\r\n"
    "Subject: x\r\n\r\nbody\r\n";
constexpr std::uint32_t generous_ms = 60'000;

inline engine_status set_group(std::string_view group, std::uint32_t rediscovery_seconds = 0) {
    return BRMX_Spam_SetCommunityServerGroup(wide(group).data(), static_cast<std::uint32_t>(group.size()),
                                             rediscovery_seconds);
}

using statistics = std::array<std::uint32_t, 7>;
inline statistics statistics_of(std::uint32_t handle) {
    statistics s{};
    EXPECT_EQ(BRMX_Spam_GetCommunityStatistics2(handle, &s[0], &s[1], &s[2], &s[3], &s[4], &s[5], &s[6]), status_ok);
    return s;
}

class community : public engine {
protected:
    // One server, and the group is its address. Its answers to probes take `probe_ms`.
    void serve(const server::script& what_to_do = {}, std::uint32_t probe_ms = distance_ms) {
        peer_.reset(); // not all systems have a second place for another one
        address_ = server::fresh_address();
        peer_ = std::make_unique<server>(address_, "secret", [=](server& self, const seen_request& request) {
            behaviour reply = what_to_do ? what_to_do(self, request) : self.honest(request);
            if (request.header.operation == 0) reply.delay_ms = probe_ms;
            return reply;
        });
        ASSERT_EQ(set_group(host()), status_ok);
        ASSERT_EQ(BRMX_Spam_GetCommunityHealth(0, nullptr, nullptr, nullptr), status_ok); // the probe is over
    }
    // Leaves the group as it is.
    void end_server() { peer_.reset(); }
    std::string host() const { return address_.to_string(tackle::internet::address::numeric_host); }
    std::uint32_t open_member(std::string_view message = small_message, std::uint32_t mode = 1,
                              std::uint32_t id = 300) {
        const auto handle = open_session(message);
        const text secret = wide("secret");
        EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(handle, mode, id, secret.data(), 6), status_ok);
        return handle;
    }
    server& peer() { return *peer_; }

private:
    brimwarden::community_server::ip4 address_;
    std::unique_ptr<server> peer_;
};

} // namespace client
