#include <atomic>
#include <thread>

#include "tests/engine/client.h"

namespace {

class threads : public client::engine {};

// So many parts that a scan takes longer than asking for the session.
std::string slow_message() {
    std::string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < 3000; ++i)
        message += "--b\r\nContent-Type: text/html; name=x\r\n\r\nx\r\n";
    return message;
}

TEST_F(threads, are_refused_at_once_by_a_busy_session) {
    const auto message = slow_message();
    std::atomic<std::uint32_t> handle = client::open(message);
    std::atomic<bool> stop = false;
    std::thread scanner([&] {
        while (!stop) { // the other thread may be the one that holds it, or have destroyed it
            std::int32_t probability = -1;
            const auto status = BRMX_Spam_GetProbability(handle, 0, &probability);
            EXPECT_TRUE(status == community_unavailable || status == session_busy || status == unknown_session)
                << status;
        }
    });
    std::uint32_t indent = 0;
    std::uint32_t length = 0;
    while (BRMX_Session_GetLastTrace(handle, 0, &indent, nullptr, &length) != session_busy) {
    }
    while (BRMX_Virus_GetInfected(handle) != session_busy) {
    }
    for (engine_status status; (status = BRMX_Session_Destroy(handle)) != session_busy; handle = client::open(message))
        EXPECT_EQ(status, status_ok); // met the moment between two scans
    stop = true;
    scanner.join();
    EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
}

TEST_F(threads, never_get_one_handle_twice) {
    constexpr int count = 4;
    std::vector<std::uint32_t> handles[count];
    {
        std::vector<std::jthread> all;
        for (auto& own : handles)
            all.emplace_back([&own] {
                for (int round = 0; round < 100; ++round)
                    own.push_back(client::open("a: b\r\n\r\n"));
            });
    }
    for (const auto& own : handles)
        for (const auto handle : own)
            EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok) << handle; // a second holder would find it gone
}

} // namespace
