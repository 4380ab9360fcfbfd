#include "tests/engine_community/community.h"

#include <atomic>
#include <random>
#include <thread>

// Answers cut at each byte, and with each byte changed, for every operation and both ways of transport.
namespace {

using client::behaviour;
using client::seen_request;
using client::server;

struct fault {
    std::size_t at = 0;
    int value = -1; // of the byte there; the end of the answer if there is none

    void spoil(std::string& bytes) const {
        if (at >= bytes.size()) return;
        if (value < 0)
            bytes.resize(at);
        else
            bytes[at] = static_cast<char>(value);
    }
};

std::vector<fault> faults_of(std::size_t length) {
    std::minstd_rand random(1); // the same faults in each run
    std::vector<fault> all;
    for (std::size_t at = 0; at < length; ++at) {
        all.push_back({at, -1});
        for (const int value : {0, 0xFF, static_cast<int>(random() & 0xFF), static_cast<int>(random() & 0xFF)})
            all.push_back({at, value});
    }
    if (emulated) // an exchange takes long there, and the bytes are read by the same code
        std::erase_if(all, [&](const fault& one) { return one.at % 4 != 0; });
    return all;
}

constexpr std::size_t header_size = 16;
constexpr std::size_t magic_size = 3;
constexpr std::size_t flags_offset = 4;

enum class wish : std::uint8_t { scan, report, revoke };

std::string with_links(const std::string& host, int count) {
    std::string message(client::small_message);
    for (int link = 10; link < 10 + count; ++link)
        message += "http://" + host + std::to_string(link) + ".example.com/offer\r\n";
    return message;
}
const std::string small(client::small_message);
const std::string with_large_query = with_links("store", 22);
const std::string with_large_update = with_links("shop", 70); // all known, by identities of ten bytes

struct sweep {
    const char* label;
    wish what;
    std::uint32_t operation; // whose answers are spoiled
    bool over_connection;
    const std::string& message;
};

// The mode of the credentials is the sweep and the id the fault, so that the server knows what to do.
const sweep sweeps[] = {
    {"query", wish::scan, 2, false, small},   {"query over a connection", wish::scan, 2, true, with_large_query},
    {"update", wish::scan, 3, false, small},  {"update over a connection", wish::scan, 3, true, with_large_update},
    {"report", wish::report, 4, true, small}, {"revoke", wish::revoke, 5, true, small},
};

class hostile_answers : public client::community {
protected:
    std::vector<std::size_t> lengths = std::vector<std::size_t>(std::size(sweeps)); // of the honest answers
    std::vector<std::vector<fault>> faults = std::vector<std::vector<fault>>(std::size(sweeps));
    std::atomic<bool> spoils = false;

    behaviour answer(server& self, const seen_request& request) {
        if (request.header.operation == 0) return self.honest(request);
        const std::size_t number = request.credential_mode;
        const sweep& of = sweeps[number];
        behaviour reply = self.honest(request);
        if (!request.by_connection) reply.delay_ms = distance_ms;
        auto& bytes = reply.answers.front().bytes;
        if (request.header.operation != of.operation) return reply;
        if (!spoils)
            lengths[number] = bytes.size();
        else
            faults[number][request.credential_id].spoil(bytes);
        return reply;
    }

    static engine_status make(const sweep& of, std::uint32_t handle) {
        if (of.what == wish::report) return BRMX_Spam_CommunityReport(handle);
        if (of.what == wish::revoke) return BRMX_Spam_CommunityRevoke(handle);
        std::int32_t probability = -1;
        const auto status = BRMX_Spam_GetProbability(handle, client::generous_ms, &probability);
        EXPECT_TRUE(probability >= 0 && probability <= 100) << probability;
        return status;
    }

    // What may come of it. A datagram that is no answer is asked for again, in the end over a connection, where the
    // nonce and the attempt are not compared.
    static bool fits(const sweep& of, const fault& made, engine_status status) {
        if (of.operation == 3) return status == status_ok; // nothing spoils a result that stands
        const bool no_packet = made.at < magic_size || (made.value < 0 && made.at < header_size);
        if (no_packet) return status == community_timed_out || (status == status_ok && made.value >= 0); // unchanged
        if (made.at == flags_offset) {
            const int indicator = made.value >> 3 & 7;
            if (indicator == 2) return status == community_invalid_credentials;
            if (indicator != 0) return status == community_protocol_error;
        } else if (made.at < header_size) {
            return status == status_ok;
        }
        return status == status_ok || status == community_protocol_error;
    }
};

TEST_F(hostile_answers, end_in_a_status) {
    serve([this](server& self, const seen_request& request) { return answer(self, request); });
    peer().learn(std::string("\xCB\x00\x71\x09", 4), {11, 9, 1, 4, 50, 1, 3});
    for (std::uint64_t link = 10; link < 80; ++link)
        peer().learn("com.example.shop" + std::to_string(link) + "/offer", {11, ~link, 300, 0, 128, 1, 2});
    for (const char* link : {"com.example.store12/offer", "com.example.store20/offer"})
        peer().learn(link, {11, static_cast<std::uint64_t>(link[18]), 300, 0, 128, 1, 2});
    std::vector<std::pair<std::size_t, std::uint32_t>> jobs; // a sweep and a fault
    for (std::size_t number = 0; number < std::size(sweeps); ++number) {
        SCOPED_TRACE(sweeps[number].label);
        const auto handle = open_member(sweeps[number].message, static_cast<std::uint32_t>(number), 0);
        ASSERT_EQ(make(sweeps[number], handle), status_ok);
        const auto counted = client::statistics_of(handle);
        EXPECT_EQ(counted[4] != 0, sweeps[number].over_connection);
        EXPECT_EQ(counted[2] == 0, sweeps[number].over_connection && sweeps[number].operation != 2);
        ASSERT_GE(lengths[number], header_size);
        faults[number] = faults_of(lengths[number]);
        for (std::uint32_t id = 0; id < faults[number].size(); ++id)
            jobs.emplace_back(number, id);
    }
    spoils = true;
    std::atomic<std::size_t> next = 0;
    std::vector<std::jthread> workers;
    for (int i = 0; i < (emulated ? 4 : 16); ++i) // most of them wait for answers that do not come
        workers.emplace_back([&] {
            for (std::size_t job = next++; job < jobs.size(); job = next++) {
                const auto [number, id] = jobs[job];
                const auto handle = client::open(sweeps[number].message);
                const client::text secret = client::wide("secret");
                EXPECT_EQ(
                    BRMX_Spam_SetCommunityCredentials(handle, static_cast<std::uint32_t>(number), id, secret.data(), 6),
                    status_ok);
                const auto status = make(sweeps[number], handle);
                const fault& made = faults[number][id];
                EXPECT_TRUE(fits(sweeps[number], made, status))
                    << sweeps[number].label << ", byte " << made.at << " set to " << made.value << ": " << status;
                EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
            }
        });
    workers.clear();
}

// The honest answer follows the spoiled one, so that no round has to wait for an answer that is none.
TEST_F(hostile_answers, to_probes_leave_a_server_reachable_or_not) {
    std::atomic<const fault*> spoils_by = nullptr;
    std::atomic<std::size_t> length = 0;
    serve(
        [&](server& self, const seen_request& request) {
            behaviour reply = self.honest(request);
            length = reply.answers.front().bytes.size();
            if (const fault* const made = spoils_by) {
                reply.answers.insert(reply.answers.begin(), reply.answers.front());
                made->spoil(reply.answers.front().bytes);
            }
            return reply;
        },
        0);
    const auto probe_faults = faults_of(length);
    for (const fault& made : probe_faults) {
        SCOPED_TRACE("byte " + std::to_string(made.at) + " set to " + std::to_string(made.value));
        spoils_by = &made;
        EXPECT_EQ(client::set_group(host()), status_ok); // a new client, and a round for it
        std::uint32_t reachable = 9;
        std::uint32_t unreachable = 9;
        std::uint32_t latency = 0;
        EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, &unreachable, &latency), status_ok);
        EXPECT_EQ(reachable + unreachable, 1U);
        const bool refused = made.at == flags_offset && made.value >= 0 && (made.value >> 3 & 7) != 0;
        const bool cut = made.at >= header_size && made.value < 0;
        if (made.at < header_size || cut) {
            EXPECT_EQ(reachable == 0, refused || cut);
        }
    }
    end_server(); // which looks at what ends here
}

} // namespace
