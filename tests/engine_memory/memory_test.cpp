#include "tests/community_server/server_process.h"
#include "tests/engine/life.h"
#include "tests/engine_memory/failing_allocator.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <optional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// What the exports do when memory runs out: at each single allocation of a call, and for good from each on. A program
// of its own, because it replaces the allocator.
namespace {

using brimwarden::community_server::server;
using brimwarden::community_server::server_process;
using client::text;
using client::wide;
using failing_allocator::failure;
using failing_allocator::length;
using failing_allocator::live_blocks;

constexpr std::uint32_t generous_ms = 60'000;
constexpr std::int32_t unwritten = -77;

std::string sample(const std::string& name) {
    std::ifstream in(BRMX_SOURCE_DIR "/samples/" + name + ".eml", std::ios::binary);
    EXPECT_TRUE(in.is_open()) << name;
    return {std::istreambuf_iterator<char>(in), {}};
}

engine_status create(const std::string& message, std::uint32_t& handle) {
    return BRMX_Session_CreateFromMemory(message.data(), static_cast<std::uint32_t>(message.size()), &handle);
}

// Each of the first allocations, and then fewer and fewer.
std::uint64_t next_allocation(std::uint64_t number) { return number + 1 + (number > 1500 ? number / 64 : 0); }

// The blocks of the process, once nobody else is at work: an attempt that a busy machine has made fail wakes the thread
// that looks for servers.
std::int64_t settled_blocks(std::int64_t expected) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (live_blocks() != expected && std::chrono::steady_clock::now() < limit)
        std::this_thread::yield();
    return live_blocks();
}

struct operation {
    const char* label;
    std::function<engine_status()> call;
    engine_status specified;        // without any failure
    std::function<void()> check;    // after a call out of memory: nothing has changed
    std::function<void()> clean_up; // after one that came to its end all the same
};

// Fails allocation after allocation of the calling thread until the call needs no more.
void exhaust(const operation& asked) {
    SCOPED_TRACE(asked.label);
    for (int warm = 0; warm < 3; ++warm) { // what is made once stays: tables, converters, caches of the system
        EXPECT_EQ(asked.call(), asked.specified);
        asked.clean_up();
    }
    for (const auto how_long : {length::once, length::until_the_end}) {
        std::uint64_t number = 1;
        for (bool happened = true; happened; number = next_allocation(number)) {
            const auto blocks = live_blocks();
            engine_status status = status_ok;
            {
                const failure injected(number, failing_allocator::scope::calling_thread, how_long);
                status = asked.call();
                happened = injected.happened();
            }
            if (status == status_out_of_memory)
                asked.check();
            else
                asked.clean_up();
            ASSERT_EQ(settled_blocks(blocks), blocks) << "allocation " << number;
            if (happened && status == status_out_of_memory) continue;
            ASSERT_EQ(status, asked.specified) << "allocation " << number;
        }
    }
    EXPECT_EQ(asked.call(), asked.specified);
    asked.clean_up();
}

// An open session, and what of it must not change.
class watched_session {
public:
    explicit watched_session(const std::string& message) {
        EXPECT_EQ(create(message, handle_), status_ok);
        const text secret = wide("secret");
        EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(handle_, 2, 7, secret.data(), 6), status_ok);
    }
    ~watched_session() { EXPECT_EQ(BRMX_Session_Destroy(handle_), status_ok); }
    watched_session(const watched_session&) = delete;
    watched_session& operator=(const watched_session&) = delete;

    // The state that a failing call has to leave alone; made by one that does not fail.
    void remember() {
        trace_ = client::trace_of(handle_);
        probability_ = unwritten;
    }
    engine_status scan() { return BRMX_Spam_GetProbability(handle_, generous_ms, &probability_); }
    void expect_untouched() {
        EXPECT_EQ(probability_, unwritten);
        EXPECT_EQ(client::trace_of(handle_), trace_);
    }
    // Of a call that came to its end although an allocation had failed: the answer is the same.
    void expect_result() {
        if (!result_) result_ = probability_;
        EXPECT_EQ(probability_, *result_);
        probability_ = unwritten;
    }
    [[nodiscard]] std::uint32_t handle() const { return handle_; }

private:
    std::uint32_t handle_ = 0;
    std::int32_t probability_ = unwritten;
    std::optional<std::int32_t> result_;
    std::vector<client::line> trace_;
};

const char* const samples[] = {"attachments",       "spam-html",   "spam-iso-2022-jp", "spam-big5-related",
                               "wrapped-by-filter", "uuencoded",   "nested-eml",       "broken",
                               "ham-mailing-list",  "spam-gb2312", "newsletter-koi8-r"};

// What one process is asked in its child, from which nothing comes back but this.
struct first_use {
    engine_status failing = status_ok;
    engine_status repeated = status_ok;
    bool happened = false;
    bool same_answer = false;
    std::int64_t blocks = 0;
};

constexpr std::uint64_t never = ~std::uint64_t{0};

// Scan and languages in a process that has made no table yet, with allocation `number` failing.
first_use use_first(const std::string& message, std::uint64_t number, length how_long) {
    int channel[2];
    first_use result;
    EXPECT_EQ(pipe(channel), 0);
    const pid_t child = fork();
    if (child == 0) {
        try { // the first exception that leaves it takes a block for good, by itself
            std::once_flag flag;
            std::call_once(flag, [] { throw 0; });
        } catch (int) {
        }
        const auto blocks = live_blocks();
        std::int32_t probability[2] = {unwritten, unwritten};
        std::uint32_t lcid = 0, relevance = 0;
        const auto use = [&](std::int32_t& answer) {
            std::uint32_t handle = 0;
            if (const auto status = create(message, handle); status != status_ok) return status;
            auto status = BRMX_Spam_GetProbability(handle, 0, &answer);
            if (status == community_unavailable)
                status = BRMX_Language_GetLanguageRelevance(handle, 0, &lcid, &relevance);
            BRMX_Session_Destroy(handle);
            return status;
        };
        {
            const failure injected(number, failing_allocator::scope::process, how_long);
            result.failing = use(probability[0]);
            result.happened = injected.happened();
        }
        result.repeated = use(probability[1]);
        result.same_answer = probability[0] == probability[1] || probability[0] == unwritten;
        result.blocks = live_blocks() - blocks;
        (void)!write(channel[1], &result, sizeof result);
        _exit(0);
    }
    close(channel[1]);
    EXPECT_EQ(read(channel[0], &result, sizeof result), static_cast<ssize_t>(sizeof result)) << "it has crashed";
    close(channel[0]);
    waitpid(child, nullptr, 0);
    return result;
}

class out_of_memory : public testing::Test {
protected:
    static void SetUpTestSuite() { BRMX_Engine_Initialize(); }
};

TEST_F(out_of_memory, at_the_first_use_leaves_no_half_made_table) {
    const bool each_one = std::getenv("BRMX_TEST_EVERY_ALLOCATION") != nullptr; // takes half a minute
    for (const auto* each : {"spam-iso-2022-jp", "spam-gb2312"}) {
        SCOPED_TRACE(each);
        const std::string message = sample(each);
        const auto expected = use_first(message, never, length::once);
        for (const auto how_long : {length::once, length::until_the_end}) {
            bool happened = true;
            for (std::uint64_t number = 1; happened; number += each_one ? 1 : 1 + number / 16) {
                const auto seen = use_first(message, number, how_long);
                happened = seen.happened;
                ASSERT_EQ(seen.repeated, expected.repeated) << "allocation " << number;
                ASSERT_TRUE(seen.same_answer) << "allocation " << number;
                ASSERT_EQ(seen.blocks, expected.blocks) << "allocation " << number;
                ASSERT_TRUE(seen.failing == status_out_of_memory || seen.failing == expected.failing) << seen.failing;
            }
        }
    }
}

TEST_F(out_of_memory, ends_the_creation_of_a_session) {
    const auto path = std::filesystem::temp_directory_path() / ("brmx_memory_" + std::to_string(getpid()) + ".eml");
    const auto name = path.u16string();
    for (const auto* each : samples) {
        const std::string message = sample(each);
        std::ofstream(path, std::ios::binary) << message;
        std::uint32_t handle = 0;
        const auto refused = [&] { EXPECT_EQ(handle, 0U); };
        const auto close = [&] { EXPECT_EQ(BRMX_Session_Destroy(std::exchange(handle, 0)), status_ok); };
        exhaust({each, [&] { return create(message, handle); }, status_ok, refused, close});
        exhaust(
            {each,
             [&] { return BRMX_Session_CreateFromFile(name.data(), static_cast<std::uint32_t>(name.size()), &handle); },
             status_ok, refused, close});
    }
    std::filesystem::remove(path);
}

TEST_F(out_of_memory, ends_a_scan_and_leaves_the_session_as_it_was) {
    for (const auto* each : samples) {
        watched_session session(sample(each));
        EXPECT_EQ(session.scan(), community_unavailable);
        session.expect_result();
        session.remember();
        exhaust({each, [&] { return session.scan(); }, community_unavailable, [&] { session.expect_untouched(); },
                 [&] { session.expect_result(); }});
        session.expect_untouched();
    }
}

TEST_F(out_of_memory, ends_a_question_about_languages) {
    std::uint32_t handle = 0, lcid = 0, relevance = 0;
    exhaust({"languages that can be told", [&] { return BRMX_Language_GetSupportedLanguages(3, &lcid); }, status_ok,
             [] {}, [&] { EXPECT_EQ(lcid, 1030U); }});
    for (const auto* each : {"languages/japanese-iso-2022-jp", "languages/german", "spam-html"}) {
        const std::string message = sample(each); // in a new session each time, which remembers the answer
        exhaust({each,
                 [&] {
                     if (const auto status = create(message, handle); status != status_ok) return status;
                     return BRMX_Language_GetLanguageRelevance(handle, 0, &lcid, &relevance);
                 },
                 status_ok, [&] { BRMX_Session_Destroy(std::exchange(handle, 0)); },
                 [&] { EXPECT_EQ(BRMX_Session_Destroy(std::exchange(handle, 0)), status_ok); }});
    }
}

TEST_F(out_of_memory, ends_what_concerns_the_state) {
    const auto nothing = [] {};
    const text state = wide("1\rBAA\r\rA\r");
    const brmx_char* given = nullptr;
    std::uint32_t length = 0;
    exhaust({"set state", [&] { return BRMX_Engine_SetState(state.data(), static_cast<std::uint32_t>(state.size())); },
             status_ok, nothing, nothing});
    exhaust({"get state", // and set the shorter one again, as the text grows by each call
             [&] {
                 const auto status = BRMX_Engine_GetState(&given, &length);
                 return status == status_ok
                            ? BRMX_Engine_SetState(state.data(), static_cast<std::uint32_t>(state.size()))
                            : status;
             },
             status_ok, nothing, nothing});
}

TEST_F(out_of_memory, is_no_matter_for_destroying) {
    std::uint32_t handle = 0;
    ASSERT_EQ(create(sample("spam-html"), handle), status_ok);
    std::int32_t probability = 0;
    ASSERT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
    std::uint32_t indent = 0, size = 200, value = 0;
    brmx_char line[200];
    // A line of the trace is written when it is read.
    exhaust({"trace", [&] { return BRMX_Session_GetLastTrace(handle, 1, &(indent = 77), line, &(size = 200)); },
             status_ok, [&] { EXPECT_TRUE(indent == 77 && size == 200); }, [] {}});
    engine_status statuses[3] = {};
    bool happened = true;
    {
        const failure injected(1, failing_allocator::scope::calling_thread, length::until_the_end);
        statuses[0] = BRMX_Spam_GetCommunityStatistics(handle, &value, &value, &value, &value, &value);
        statuses[1] = BRMX_Engine_GetSessionInformation(&value, &value);
        statuses[2] = BRMX_Session_Destroy(handle);
        happened = injected.happened();
    }
    EXPECT_FALSE(happened);
    for (const auto& status : statuses)
        EXPECT_EQ(status, status_ok) << &status - statuses;
}

// A member of a community, in a process of its own: there is no way back to an engine without one.
text host;

engine_status set_group() {
    return BRMX_Spam_SetCommunityServerGroup(host.data(), static_cast<std::uint32_t>(host.size()), 0);
}

// The probes of the group are over when this returns.
void wait_for_probes() {
    std::uint32_t reachable = 0;
    EXPECT_EQ(BRMX_Spam_GetCommunityHealth(0, &reachable, nullptr, nullptr), status_ok);
    EXPECT_EQ(reachable, 1U);
}

void join_a_community() {
    const auto address = server::fresh_address();
    static const server_process peer(address, "secret"); // has an allocator of its own
    host = wide(address.to_string(tackle::internet::address::numeric_host));
    BRMX_Engine_Initialize();
    ASSERT_EQ(set_group(), status_ok);
    wait_for_probes();
}

void ends_what_asks_the_community() {
    join_a_community();
    exhaust({"group", set_group, status_ok, wait_for_probes, wait_for_probes});
    for (const auto* each : {"wrapped-by-filter", "spam-html"}) { // asked by datagram, and over a connection
        watched_session session(sample(each));
        EXPECT_EQ(session.scan(), status_ok);
        session.expect_result();
        session.remember();
        exhaust({each, [&] { return session.scan(); }, status_ok, [&] { session.expect_untouched(); },
                 [&] {
                     session.expect_result();
                     session.remember(); // the latency in it differs
                 }});
        exhaust({"report", [&] { return BRMX_Spam_CommunityReport2(session.handle(), generous_ms, 1); }, status_ok,
                 [&] { session.expect_untouched(); }, [&] { session.remember(); }});
    }
    exhaust(
        {"health", [] { return BRMX_Spam_GetCommunityHealth(0, nullptr, nullptr, nullptr); }, status_ok, [] {}, [] {}});
    engine_status status = status_failed;
    {
        const failure injected(1, failing_allocator::scope::calling_thread, length::until_the_end);
        status = BRMX_Engine_Shutdown();
    }
    EXPECT_EQ(status, status_ok);
}

// The threads of the community run out of it, too: they lose an answer or a round, and a later call finds all in order.
void loses_answers_and_no_thread() {
    join_a_community();
    watched_session session(sample("wrapped-by-filter"));
    for (std::uint64_t number = 1; number < 400; number += 1 + number / 8) {
        SCOPED_TRACE(number);
        engine_status group = status_failed, scan = status_failed;
        {
            const failure injected(number, failing_allocator::scope::process, length::once);
            group = set_group();
            scan = session.scan();
        }
        EXPECT_TRUE(group == status_ok || group == status_out_of_memory) << group;
        EXPECT_TRUE(scan == status_ok || scan == status_out_of_memory || scan == community_discovery_pending) << scan;
        ASSERT_EQ(set_group(), status_ok);
        wait_for_probes();
        ASSERT_EQ(session.scan(), status_ok);
    }
}

TEST(community_out_of_memory, ends_what_asks_it) { EXPECT_LIFE(ends_what_asks_the_community); }
TEST(community_out_of_memory, loses_answers_and_no_thread) { EXPECT_LIFE(loses_answers_and_no_thread); }

} // namespace
