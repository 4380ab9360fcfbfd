#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "tests/engine/client.h"

// The engine lives once in a process, so each of these lives runs in a process of its own. It ends without unloading
// anything: sessions that have outlived the engine cannot be destroyed any more.
namespace {

constexpr std::string_view message = "Subject: x\r\n\r\nbody\r\n";

template <typename life>
[[noreturn]] void live(const life& body) {
    const int wrong = body();
    if (wrong != 0) std::fprintf(stderr, "wrong status in line %d\n", wrong);
    std::fflush(stderr);
    std::_Exit(wrong == 0 ? 0 : 1);
}

#define EXPECT_LIFE(body) EXPECT_EXIT(live(body), testing::ExitedWithCode(0), "")
#define REQUIRE(condition)                                                                                             \
    if (!(condition)) return __LINE__

class lifecycle : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

engine_status create(std::uint32_t& handle) {
    return BRMX_Session_CreateFromMemory(message.data(), static_cast<std::uint32_t>(message.size()), &handle);
}

int refuses_before_initialisation() {
    std::uint32_t handle = 77;
    std::uint32_t count = 0;
    std::int32_t probability = 0;
    REQUIRE(BRMX_Engine_Shutdown() == 65537);
    REQUIRE(create(handle) == 65537 && handle == 77);
    REQUIRE(BRMX_Session_CreateFromMemory(nullptr, 0, &handle) == 5);
    REQUIRE(BRMX_Session_CreateFromFile(nullptr, 0, &handle) == 5);
    REQUIRE(BRMX_Session_Destroy(1) == 65537);
    REQUIRE(BRMX_Engine_GetSessionInformation(&count, &count) == 65537);
    REQUIRE(BRMX_Virus_GetDefinitions() == 65537);
    REQUIRE(BRMX_Spam_GetProbability(1, 0, &probability) == 131073); // these two ask the table only
    REQUIRE(BRMX_Virus_GetInfected(1) == 131073);
    REQUIRE(BRMX_Engine_GetHeapInformation(&count, &count, &count, &count) == 0);
    return 0;
}

int runs_once() {
    REQUIRE(BRMX_Engine_Initialize() == 0);
    REQUIRE(BRMX_Engine_Initialize() == 65538);
    REQUIRE(BRMX_Engine_Shutdown() == 0);
    REQUIRE(BRMX_Engine_Shutdown() == 65539);
    REQUIRE(BRMX_Engine_Initialize() == 65538);
    REQUIRE(BRMX_Virus_GetDefinitions() == 65539);
    return 0;
}

int keeps_sessions_after_shutdown() {
    std::uint32_t handle = 0;
    std::uint32_t other = 0;
    std::int32_t probability = -1;
    REQUIRE(BRMX_Engine_Initialize() == 0);
    REQUIRE(create(handle) == 0 && handle == 1);
    REQUIRE(BRMX_Spam_GetProbability(handle, 0, &probability) == 196609);
    const auto before = client::trace_of(handle);
    REQUIRE(!before.empty());
    REQUIRE(BRMX_Engine_Shutdown() == 0);
    REQUIRE(client::trace_of(handle) == before);
    const auto first = probability;
    probability = -1;
    REQUIRE(BRMX_Spam_GetProbability(handle, 0, &probability) == 196609 && probability == first);
    REQUIRE(BRMX_Virus_GetInfected(handle) == 262144);
    REQUIRE(BRMX_Session_Destroy(handle) == 65539);
    REQUIRE(create(other) == 65539);
    return 0;
}

// Calls that are inside end first, and those that come later are refused: no thread hangs, none crashes.
int shuts_down_among_running_calls() {
    REQUIRE(BRMX_Engine_Initialize() == 0);
    std::atomic<int> running = 0;
    std::atomic<bool> strange = false;
    const auto work = [&] {
        for (bool first = true;; first = false) {
            std::uint32_t handle = 0;
            const auto status = create(handle);
            if (status == engine_shut_down) break;
            if (status != status_ok) strange = true;
            const auto ended = BRMX_Session_Destroy(handle);
            if (ended != status_ok && ended != engine_shut_down) strange = true;
            if (first) ++running;
        }
    };
    std::thread threads[] = {std::thread(work), std::thread(work), std::thread(work)};
    while (running < 3)
        std::this_thread::yield();
    const auto status = BRMX_Engine_Shutdown();
    for (auto& thread : threads)
        thread.join();
    REQUIRE(status == status_ok);
    REQUIRE(!strange);
    return 0;
}

TEST_F(lifecycle, refuses_before_initialisation) { EXPECT_LIFE(refuses_before_initialisation); }
TEST_F(lifecycle, runs_once) { EXPECT_LIFE(runs_once); }
TEST_F(lifecycle, keeps_sessions_after_shutdown) { EXPECT_LIFE(keeps_sessions_after_shutdown); }
TEST_F(lifecycle, shuts_down_among_running_calls) { EXPECT_LIFE(shuts_down_among_running_calls); }

} // namespace
