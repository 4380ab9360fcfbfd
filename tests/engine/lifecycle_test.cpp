#include <atomic>
#include <thread>

#include "tests/engine/life.h"

namespace {

constexpr std::string_view message = "Subject: x\r\n\r\nbody\r\n";

engine_status create(std::uint32_t& handle) {
    return BRMX_Session_CreateFromMemory(message.data(), static_cast<std::uint32_t>(message.size()), &handle);
}

void keeps_sessions_after_shutdown() {
    std::uint32_t handle = 0;
    std::uint32_t other = 0;
    std::int32_t probability = -1;
    EXPECT_TRUE(BRMX_Engine_Initialize() == 0);
    EXPECT_TRUE(create(handle) == 0 && handle == 1);
    EXPECT_TRUE(BRMX_Spam_GetProbability(handle, 0, &probability) == 196609);
    const auto before = client::trace_of(handle);
    EXPECT_TRUE(!before.empty());
    EXPECT_TRUE(BRMX_Engine_Shutdown() == 0);
    EXPECT_TRUE(client::trace_of(handle) == before);
    const auto first = probability;
    probability = -1;
    EXPECT_TRUE(BRMX_Spam_GetProbability(handle, 0, &probability) == 196609 && probability == first);
    EXPECT_TRUE(BRMX_Virus_GetInfected(handle) == 262144);
    EXPECT_TRUE(BRMX_Session_Destroy(handle) == 65539);
    EXPECT_TRUE(create(other) == 65539);
}

// Calls that are inside end first, and those that come later are refused: no thread hangs, none crashes.
void shuts_down_among_running_calls() {
    EXPECT_TRUE(BRMX_Engine_Initialize() == 0);
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
    EXPECT_TRUE(status == status_ok);
    EXPECT_TRUE(!strange);
}

// What is under way when the end comes is waited for, and nobody else is let in meanwhile.
void shuts_down_behind_a_scan() {
    EXPECT_TRUE(BRMX_Engine_Initialize() == 0);
    std::string large = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < 4000; ++i)
        large += "--b\r\nContent-Type: text/html; name=x\r\n\r\nx\r\n";
    std::uint32_t handle = 0;
    EXPECT_TRUE(BRMX_Session_CreateFromMemory(large.data(), static_cast<std::uint32_t>(large.size()), &handle) == 0);
    std::atomic<bool> ended = false;
    engine_status scanned = status_failed;
    std::thread scanner([&] {
        std::int32_t probability = -1;
        do // as long as it is the other thread that holds it
            scanned = BRMX_Spam_GetProbability(handle, 0, &probability);
        while (scanned == session_busy);
        ended = true;
    });
    while (BRMX_Virus_GetInfected(handle) != session_busy && !ended)
        std::this_thread::yield();
    const auto destroyed = BRMX_Session_Destroy(handle); // goes well if the scan has met the moment before
    const auto status = BRMX_Engine_Shutdown();
    scanner.join();
    EXPECT_TRUE(status == 0 && scanned == 196609);
    EXPECT_TRUE(destroyed == 0 || (destroyed == 131074 && !client::trace_of(handle).empty()));
    EXPECT_TRUE(BRMX_Session_Destroy(handle) == 65539);
}

TEST(lifecycle, keeps_sessions_after_shutdown) { EXPECT_LIFE(keeps_sessions_after_shutdown); }
TEST(lifecycle, shuts_down_among_running_calls) { EXPECT_LIFE(shuts_down_among_running_calls); }
TEST(lifecycle, shuts_down_behind_a_scan) { EXPECT_LIFE(shuts_down_behind_a_scan); }

} // namespace
