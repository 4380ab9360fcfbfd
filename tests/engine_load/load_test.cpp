#include "foundation/sync/event.h"
#include "foundation/sync/scope.h"
#include "tests/engine/life.h"
#include "tests/engine_community/community.h"
#include "tests/engine_load/process_figures.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <random>
#include <thread>

// Many clients at once and a bad network, for a time. Two variables of the environment make it longer or larger:
// BRMX_LOAD_SECONDS and BRMX_LOAD_THREADS.
namespace {

using brimwarden::community_server::packet;
using client::behaviour;
using client::seen_request;
using client::server;
using client::text;
using client::wide;
using clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using tackle::scope;

constexpr std::uint32_t default_seconds = sanitized ? 20 : 6;
constexpr std::uint32_t default_threads = 32;
constexpr std::uint32_t generous_ms = 600'000;
constexpr std::uint64_t memory_slack = std::uint64_t{8} << 20; // of the allocators, whose arenas fill in any order
// Reports and revokes come with this mode and the number of their message as id. Scans come with the number of their
// thread as mode, and with an id that rises from scan to scan.
constexpr std::uint32_t report_mode = 1'000'000;

std::uint32_t setting(const char* name, std::uint32_t otherwise) {
    const char* const given = std::getenv(name);
    return given == nullptr ? otherwise : static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10));
}

std::uint64_t hash_of(std::string_view bytes, std::uint64_t start = 0) {
    std::uint64_t hash = start ^ 0xCBF29CE484222325;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<std::uint8_t>(byte)) * 0x100000001B3; // FNV-1a
    return hash ^ hash >> 29;
}

// A server after a bad network: a tenth of its answers is lost, a tenth comes late, a twentieth twice. What it knows of
// a signature follows from the signature alone, so an answer that lands in another scan shows, and so does an update
// with other identities than the query of its scan was given. The last attempt of a request always has its answer at
// once: by chance one request of a hundred million would lose all eight.
class bad_network {
public:
    behaviour operator()(server& self, const seen_request& request) {
        constexpr std::uint32_t query = 2, update = 3;
        behaviour reply = self.honest(request);
        const auto operation = request.header.operation;
        if (operation == query)
            reply = answer_query(self, request);
        else if (operation == update ? !update_fits(request) : operation != 0 && !message_fits(request))
            ++mixed_up;
        if (!request.by_connection) reply.delay_ms = 2 * distance_ms; // so many threads take turns
        if (operation != 0) spoil(request, reply);
        return reply;
    }
    std::atomic<std::uint64_t> mixed_up = 0; // requests whose parts do not belong together

private:
    // Half of the addresses, links and digests are known: by one unit, since lengths of values differ, and an identity.
    behaviour answer_query(server& self, const seen_request& request) {
        packet entries;
        std::vector<std::uint64_t> given;
        for (const auto& asked : brimwarden::community_server::signatures_of(request)) {
            const std::uint64_t hash = hash_of(asked.value, asked.code);
            if (hash % 2 == 0) {
                entries.write_number(0);
                continue;
            }
            given.push_back(hash >> 1);
            for (const std::uint64_t number : {std::uint64_t{1}, hash >> 1, hash % 1000, std::uint64_t{0},
                                               hash >> 12 & 63, hash >> 20 & 3, hash >> 24 & 1023})
                entries.write_number(number);
        }
        const scope lock(&lock_);
        last_told_[request.credential_mode] = {request.credential_id, std::move(given)};
        return {{{self.enciphered_reply_to(request, entries.body)}}};
    }
    bool update_fits(const seen_request& request) {
        packet payload;
        payload.body = request.payload;
        std::uint64_t score = 0, count = 0;
        if (!payload.read_number(score) || score > 100 || !payload.read_number(count)) return false;
        const scope lock(&lock_);
        const auto& [scan, told] = last_told_[request.credential_mode];
        if (scan != request.credential_id || told.size() != count) return false;
        for (const std::uint64_t expected : told)
            if (std::uint64_t identity = 0; !payload.read_number(identity) || identity != expected) return false;
        return payload.read_position == payload.body.size();
    }
    bool message_fits(const seen_request& request) {
        if (request.credential_mode != report_mode || request.payload.empty()) return false;
        const std::uint64_t hash = hash_of(std::string_view(request.payload).substr(1)); // after the flag
        const scope lock(&lock_);
        return messages_.try_emplace(request.credential_id, hash).first->second == hash;
    }
    void spoil(const seen_request& request, behaviour& reply) {
        const std::uint64_t turn = turn_++;
        const std::uint64_t chance = hash_of({reinterpret_cast<const char*>(&turn), sizeof turn}) % 1000;
        if (request.header.attempt >= 7) return;
        if (chance < 100)
            reply.answers.clear();
        else if (chance < 200) // some datagrams come when nobody waits any more
            reply.delay_ms += static_cast<std::uint32_t>(1 + chance % (request.by_connection ? 50 : 200));
        else if (chance < 250 && !request.by_connection)
            reply.answers.push_back(reply.answers.front());
    }

    tackle::mutex lock_;
    std::map<std::uint64_t, std::pair<std::uint64_t, std::vector<std::uint64_t>>> last_told_; // by thread
    std::map<std::uint64_t, std::uint64_t> messages_; // hash of what was reported, by the message's number
    std::atomic<std::uint64_t> turn_ = 0;
};

// Each with an address, links and words of its own, and one in eight with more than a datagram can ask.
std::string made_up(std::uint32_t number) {
    const std::string own = std::to_string(number);
    const std::string address = "203.1." + std::to_string(number >> 8) + "." + std::to_string(number & 0xFF);
    std::string message = "Received: from relay (" + address + ") by here\r\nSubject: message " + own +
                          "\r\nMessage-ID: <" + own + "@" + address + ">\r\n\r\n";
    for (std::uint32_t link = 0; link < (number % 8 == 0 ? 40 : 2); ++link)
        message += "see http://shop" + own + ".example.com/offer/" + std::to_string(link) + " today\r\n";
    for (std::uint32_t word = 0; word < 60; ++word) // digits are not words
        message += std::string(1 + (number + word) % 7, static_cast<char>('a' + (number / 7 + word * word) % 26)) + " ";
    return message + "\r\n";
}

// Everything but what tells of the exchange with the servers, which differs from scan to scan.
std::uint64_t hash_of_trace(std::uint32_t handle) {
    std::uint64_t hash = 0;
    bool of_exchange = false;
    for (const auto& [indent, line] : client::trace_of(handle)) {
        if (indent == 0) of_exchange = line == "Executing Request:";
        if (!of_exchange && !line.empty()) hash = hash_of(line, hash + indent);
    }
    return hash;
}

class load {
public:
    load() { peer_.keep_nothing(); }

    void set_group() const {
        EXPECT_EQ(client::set_group(address_.to_string(tackle::internet::address::numeric_host), 1), status_ok);
    }
    void run(std::uint32_t threads, std::chrono::seconds length) {
        end_.reset();
        std::vector<std::jthread> all;
        all.emplace_back([&] {
            while (!end_.wait(1000))
                set_group();
        });
        all.emplace_back([&] {
            while (!end_.wait(10))
                EXPECT_EQ(BRMX_Spam_GetCommunityHealth(1, nullptr, nullptr, nullptr), status_ok);
        });
        for (std::uint32_t thread = 0; thread < threads; ++thread)
            all.emplace_back([this, thread] { scan_many(thread); });
        (void)end_.wait(static_cast<std::uint32_t>(milliseconds(length).count()));
        end_.set();
    }
    void expect_nothing_lost() const {
        std::printf("%u requests, %u without an answer in time\n", done_.load(), unanswered_.load());
        EXPECT_EQ(network_.mixed_up, 0U);
        EXPECT_EQ(mixed_up_, 0U);
        EXPECT_GT(done_, 10 * unanswered_); // a slow machine takes longer than the limits that the library sets itself
        std::uint32_t open = 77;
        EXPECT_EQ(BRMX_Engine_GetSessionInformation(&open, nullptr), status_ok);
        EXPECT_EQ(open, 0U);
    }

private:
    struct message {
        // Of the first scans, with the community's answer and without: what all others have to be equal to.
        std::atomic<std::uint64_t> local_trace = 0, whole_trace = 0;
    };

    void accept(engine_status status) {
        ++done_;
        if (status == community_timed_out || status == community_discovery_pending)
            ++unanswered_;
        else
            EXPECT_EQ(status, status_ok);
    }
    static void introduce(std::uint32_t handle, std::uint32_t mode, std::uint32_t id) {
        const text secret = wide("secret");
        EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(handle, mode, id, secret.data(), 6), status_ok);
    }
    void scan_many(std::uint32_t thread) {
        std::minstd_rand random(thread + 1);
        while (!end_.wait(0)) {
            const std::uint32_t number = random() % message_count;
            const auto handle = client::open(made_up(number));
            const std::uint32_t id = ++scan_counter_;
            introduce(handle, thread, id);
            std::int32_t probability = -1;
            const auto status = BRMX_Spam_GetProbability(handle, generous_ms, &probability);
            accept(status);
            EXPECT_TRUE(probability >= 0 && probability <= 100) << probability;
            const std::uint64_t found = hash_of_trace(handle) + static_cast<std::uint64_t>(probability);
            std::uint64_t expected = 0;
            auto& known = status == status_ok ? messages_[number].whole_trace : messages_[number].local_trace;
            if (!known.compare_exchange_strong(expected, found) && expected != found) ++mixed_up_;
            std::uint32_t language = 0, relevance = 0;
            EXPECT_EQ(BRMX_Language_GetLanguageRelevance(handle, 9, &language, &relevance), index_out_of_range);
            introduce(handle, report_mode, number);
            if (id % 4 == 0)
                accept(id % 8 == 0 ? BRMX_Spam_CommunityRevoke(handle) : BRMX_Spam_CommunityReport(handle));
            EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
        }
    }

    static constexpr std::uint32_t message_count = 512;
    std::vector<message> messages_ = std::vector<message>(message_count);
    bad_network network_;
    brimwarden::community_server::ip4 address_ = server::fresh_address();
    server peer_{address_, "secret", [this](server& self, const seen_request& r) { return network_(self, r); }};
    tackle::event end_{false};
    std::atomic<std::uint32_t> scan_counter_ = 0, done_ = 0, unanswered_ = 0, mixed_up_ = 0;
};

// The system takes a moment to forget a thread that has ended, and the server one to see that a client is gone.
void expect_back_at(const process_figures& before, const char* what) {
    const auto last_look = clock::now() + std::chrono::seconds(10);
    for (auto now = figures_of_this_process(); now.threads > before.threads || now.handles > before.handles;
         now = figures_of_this_process()) {
        ASSERT_LT(clock::now(), last_look) << what << ": " << now.threads << " threads, " << now.handles << " handles";
        std::this_thread::sleep_for(milliseconds(20));
    }
}

void work_under_load() {
    const std::chrono::seconds length(setting("BRMX_LOAD_SECONDS", default_seconds));
    const std::uint32_t threads = setting("BRMX_LOAD_THREADS", default_threads);
    BRMX_Engine_Initialize();
    const auto work = std::make_unique<load>();
    const auto without_community = figures_of_this_process();
    work->set_group();
    const auto at_rest = figures_of_this_process();
    work->run(threads, length / 4);
    const auto warm = figures_of_this_process();
    work->run(threads, length - length / 4);
    expect_back_at(at_rest, "after the load");
    const auto after = figures_of_this_process();
    if (!sanitized) { // whose own records grow
        EXPECT_LE(after.heap_bytes, warm.heap_bytes + memory_slack);
        EXPECT_LE(after.resident_bytes, warm.resident_bytes + memory_slack);
    }
    work->expect_nothing_lost();
    const auto start = clock::now();
    EXPECT_EQ(BRMX_Engine_Shutdown(), status_ok);
    EXPECT_LT(clock::now() - start, std::chrono::seconds(5));
    expect_back_at(without_community, "after the shutdown");
}

TEST(load, loses_mixes_up_and_keeps_nothing) { EXPECT_LIFE(work_under_load); }

} // namespace
