#include "foundation/sync/event.h"
#include "tests/community_server/community_server.h"
#include "tests/engine/client.h"
#include "tests/engine_community/slow_target.h"
#include "tests/engine_load/bad_network.h"
#include "tests/engine_load/messages.h"
#include "tests/engine_load/metronome.h"
#include "tests/engine_load/process_figures.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <random>
#include <thread>

// Many clients at once and a bad network, for a time. Three variables of the environment make it longer or another
// load:
//   BRMX_LOAD_SECONDS    how long
//   BRMX_LOAD_THREADS    how many threads scan
//   BRMX_LOAD_MESSAGES   a folder of messages to scan, instead of made-up ones
namespace {

using brimwarden::community_server::seen_request;
using brimwarden::community_server::server;
using client::text;
using clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::uint32_t default_seconds = sanitized ? 20 : emulated ? 6 : 10;
constexpr std::uint32_t answer_ms = 2 * distance_ms; // so many threads take turns
constexpr milliseconds patience{answer_ms + 100};    // what the library gives a server
constexpr std::uint32_t default_threads = 32;
constexpr std::uint32_t generous_ms = 600'000;
constexpr std::uint64_t memory_slack = std::uint64_t{8} << 20; // of the allocators, whose arenas fill in any order

std::uint32_t setting(const char* name, std::uint32_t otherwise) {
    const char* const given = std::getenv(name);
    return given == nullptr ? otherwise : static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10));
}

// Of this run alone: what somebody else sends to an address that programs share is then known as such.
const std::string& secret() {
    static const std::string made = "secret" + std::to_string(std::random_device{}());
    return made;
}

text wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

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
    load() : peer_(address_, secret(), [this](server& self, const seen_request& r) { return network_(self, r); }) {
        peer_.keep_nothing();
    }

    void run(std::uint32_t threads, std::chrono::seconds length);
    void set_group() const {
        const text host = wide(address_.to_string(tackle::internet::address::numeric_host));
        EXPECT_EQ(BRMX_Spam_SetCommunityServerGroup(host.data(), static_cast<std::uint32_t>(host.size()), 1),
                  status_ok);
    }
    void expect_nothing_lost() const;
    void print(const char* when) const;

private:
    struct message {
        std::string raw;
        // Of the first scans, with the community's answer and without: what all others have to be equal to.
        std::atomic<std::uint64_t> local_trace = 0;
        std::atomic<std::uint64_t> whole_trace = 0;
    };

    void scan_many(std::uint32_t thread);
    void work_on(std::uint32_t handle, message& given, std::uint64_t number, std::uint32_t thread);
    void scan(std::uint32_t handle, message& given);
    void tell(std::uint32_t handle, bool revoke);
    void count_packets(std::uint32_t handle);
    void accept(engine_status status, clock::time_point start);
    static void introduce(std::uint32_t handle, std::uint64_t mode, std::uint64_t id) {
        const text shared = wide(secret());
        EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(handle, static_cast<std::uint32_t>(mode),
                                                    static_cast<std::uint32_t>(id), shared.data(),
                                                    static_cast<std::uint32_t>(shared.size())),
                  status_ok);
    }

    std::vector<message> messages_ = [] {
        const auto all = messages_to_scan();
        std::vector<message> made(all.size());
        for (std::size_t i = 0; i < all.size(); ++i)
            made[i].raw = all[i];
        return made;
    }();
    bad_network network_{answer_ms};
    brimwarden::community_server::ip4 address_ = server::fresh_address();
    server peer_;
    metronome beat_{address_, patience};
    tackle::event end_{false};
    std::atomic<std::uint32_t> scan_counter_ = 0;
    std::atomic<std::uint64_t> scans_ = 0;
    std::atomic<std::uint64_t> told_ = 0;
    std::atomic<std::uint64_t> excused_ = 0;
    std::atomic<std::uint64_t> mixed_up_ = 0;
    std::atomic<std::uint64_t> datagrams_ = 0;
    std::atomic<std::uint64_t> connections_ = 0;
};

// The machine may be slower than the limits that the library sets itself; nothing else is an excuse.
void load::accept(engine_status status, clock::time_point start) {
    if (status == status_ok) return;
    const bool out_of_time = status == community_timed_out || status == community_discovery_pending;
    if (out_of_time && beat_.was_slow_since(start))
        ++excused_;
    else
        ADD_FAILURE() << "status " << std::hex << status;
}

void load::count_packets(std::uint32_t handle) {
    std::array<std::uint32_t, 7> s{};
    EXPECT_EQ(BRMX_Spam_GetCommunityStatistics2(handle, &s[0], &s[1], &s[2], &s[3], &s[4], &s[5], &s[6]), status_ok);
    EXPECT_LE(s[3], s[2]);
    datagrams_ += s[2];
    connections_ += s[4];
}

void load::scan(std::uint32_t handle, message& given) {
    const auto start = clock::now();
    std::int32_t probability = -1;
    const auto status = BRMX_Spam_GetProbability(handle, generous_ms, &probability);
    accept(status, start);
    EXPECT_TRUE(probability >= 0 && probability <= 100) << probability;
    const std::uint64_t found = hash_of_trace(handle) + static_cast<std::uint64_t>(probability);
    std::uint64_t expected = 0;
    auto& known = status == status_ok ? given.whole_trace : given.local_trace;
    if (!known.compare_exchange_strong(expected, found) && expected != found) ++mixed_up_;
    count_packets(handle);
    ++scans_;
}

void load::tell(std::uint32_t handle, bool revoke) {
    const auto start = clock::now();
    accept((revoke ? BRMX_Spam_CommunityRevoke : BRMX_Spam_CommunityReport)(handle), start);
    count_packets(handle);
    ++told_;
}

void load::work_on(std::uint32_t handle, message& given, std::uint64_t number, std::uint32_t thread) {
    const std::uint32_t id = ++scan_counter_;
    introduce(handle, thread, id);
    scan(handle, given);
    if (id % 4 == 0) {
        engine_status status = status_ok;
        std::uint32_t language = 0;
        std::uint32_t relevance = 0;
        for (std::uint32_t index = 0; status == status_ok; ++index)
            status = BRMX_Language_GetLanguageRelevance(handle, index, &language, &relevance);
        EXPECT_EQ(status, index_out_of_range);
    }
    if (id % 16 < 2) {
        introduce(handle, bad_network::report_mode, number);
        tell(handle, id % 16 == 1);
    }
}

void load::scan_many(std::uint32_t thread) {
    std::minstd_rand random(thread + 1 + scan_counter_);
    while (!end_.wait(0)) {
        const std::uint64_t number = random() % messages_.size();
        message& given = messages_[number];
        std::uint32_t handle = 0;
        const auto opened =
            BRMX_Session_CreateFromMemory(given.raw.data(), static_cast<std::uint32_t>(given.raw.size()), &handle);
        EXPECT_TRUE(opened == status_ok || opened == message_too_deep) << opened;
        if (opened != status_ok) continue;
        work_on(handle, given, number, thread);
        EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
    }
}

void load::run(std::uint32_t threads, std::chrono::seconds length) {
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
    all.emplace_back([&] {
        const auto handle = client::open(messages_.front().raw);
        introduce(handle, bad_network::report_mode, 0);
        for (bool revoke = false; !end_.wait(0); revoke = !revoke)
            tell(handle, revoke);
        EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
    });
    for (std::uint32_t thread = 0; thread < threads; ++thread)
        all.emplace_back([this, thread] { scan_many(thread); });
    const auto step = std::max<std::chrono::milliseconds>(length / 10, milliseconds(10'000));
    const auto start = clock::now();
    while (clock::now() + step < start + length) {
        std::this_thread::sleep_for(step);
        print("under way");
    }
    std::this_thread::sleep_until(start + length);
    end_.set();
}

void load::expect_nothing_lost() const {
    EXPECT_EQ(network_.mixed_up, 0U);
    EXPECT_EQ(mixed_up_, 0U);
    EXPECT_EQ(network_.repeated, 0U);
    EXPECT_EQ(peer_.datagrams(), datagrams_);
    EXPECT_EQ(peer_.connections(), connections_);
    EXPECT_GT(scans_ + told_, excused_);
    std::uint32_t open = 77;
    EXPECT_EQ(BRMX_Engine_GetSessionInformation(&open, nullptr), status_ok);
    EXPECT_EQ(open, 0U);
}

void load::print(const char* when) const {
    const auto now = figures_of_this_process();
    std::printf("%s: %llu scans, %llu reports and revokes, %llu without an answer in time; "
                "lost %llu, late %llu, doubled %llu; plain questions %llu, slow %llu, slowest %lld ms; "
                "resident %llu KB, heap %llu KB, %llu threads, %llu handles\n",
                when, static_cast<unsigned long long>(scans_), static_cast<unsigned long long>(told_),
                static_cast<unsigned long long>(excused_), static_cast<unsigned long long>(network_.lost),
                static_cast<unsigned long long>(network_.late), static_cast<unsigned long long>(network_.doubled),
                static_cast<unsigned long long>(beat_.questions()),
                static_cast<unsigned long long>(beat_.slow_questions()), static_cast<long long>(beat_.slowest_ms()),
                static_cast<unsigned long long>(now.resident_bytes >> 10),
                static_cast<unsigned long long>(now.heap_bytes >> 10), static_cast<unsigned long long>(now.threads),
                static_cast<unsigned long long>(now.handles));
    std::fflush(stdout);
}

// The system takes a moment to forget a thread that has ended, and the server one to see that a client is gone.
template <typename condition>
bool comes_true(const condition& holds) {
    const auto last_look = clock::now() + std::chrono::seconds(10);
    while (!holds()) {
        if (clock::now() > last_look) return false;
        std::this_thread::sleep_for(milliseconds(20));
    }
    return true;
}

void expect_back_at(const process_figures& before, const char* what) {
    EXPECT_TRUE(comes_true([&] {
        const auto now = figures_of_this_process();
        return now.threads <= before.threads && now.handles <= before.handles;
    })) << what
        << ": " << before.threads << " threads, " << before.handles << " handles before";
}

TEST(load, loses_mixes_up_and_keeps_nothing) {
    const std::chrono::seconds length(setting("BRMX_LOAD_SECONDS", default_seconds));
    const std::uint32_t threads = setting("BRMX_LOAD_THREADS", default_threads);
    BRMX_Engine_Initialize();
    const auto work = std::make_unique<load>();
    const auto without_community = figures_of_this_process();
    work->set_group();
    const auto at_rest = figures_of_this_process();
    work->run(threads, length / 4);
    work->print("warm");
    const auto warm = figures_of_this_process();
    work->run(threads, length - length / 4);
    work->print("at the end");
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

} // namespace
