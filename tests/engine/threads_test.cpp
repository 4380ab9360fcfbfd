#include <atomic>
#include <thread>

#include "tests/engine/client.h"

namespace {

class threads : public client::engine {
protected:
    template <typename function>
    static void together(int count, const function& body) {
        std::vector<std::thread> all;
        for (int number = 0; number < count; ++number)
            all.emplace_back(body, number);
        for (auto& thread : all)
            thread.join();
    }
};

// So many parts that a scan takes longer than asking for the session.
std::string slow_message(int parts = 3000) {
    std::string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < parts; ++i)
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

TEST_F(threads, scan_their_own_sessions_side_by_side) {
    const auto message = slow_message(300);
    const auto judge = [&](std::vector<client::line>& trace) {
        const auto handle = client::open(message);
        std::int32_t probability = -1;
        EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
        trace = client::trace_of(handle);
        EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
    };
    std::vector<client::line> expected;
    judge(expected);
    together(4, [&](int) {
        for (int round = 0; round < 3; ++round) {
            std::vector<client::line> trace;
            judge(trace);
            EXPECT_EQ(trace, expected);
        }
    });
}

TEST_F(threads, share_a_session_without_waiting) {
    const auto handle = open_session(slow_message());
    std::atomic<int> scans = 0;
    together(4, [&](int) {
        for (int round = 0; round < 20; ++round) {
            std::int32_t probability = -1;
            const auto status = BRMX_Spam_GetProbability(handle, 0, &probability);
            if (status == session_busy) {
                EXPECT_EQ(probability, -1);
                continue;
            }
            EXPECT_EQ(status, community_unavailable);
            EXPECT_GE(probability, 0);
            ++scans;
        }
    });
    EXPECT_GE(scans, 1);
}

TEST_F(threads, never_get_one_handle_twice) {
    constexpr int count = 4;
    std::vector<std::uint32_t> handles[count];
    together(count, [&](int number) {
        for (int round = 0; round < 100; ++round)
            handles[number].push_back(client::open("a: b\r\n\r\n"));
    });
    for (const auto& own : handles)
        for (const auto handle : own)
            EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok) << handle; // a second holder would find it gone
}

} // namespace
