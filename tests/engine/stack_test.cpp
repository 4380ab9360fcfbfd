#include "tests/engine/client.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <pthread.h>
#endif

namespace {

constexpr std::size_t promised_stack = 64 * 1024; // bytes; docs/embedding.md

void scan(const std::string& message) {
    const auto handle = client::open(message);
    std::int32_t probability = 0;
    std::uint32_t lcid = 0;
    std::uint32_t relevance = 0;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
    EXPECT_FALSE(client::trace_of(handle).empty());
    EXPECT_EQ(BRMX_Language_GetLanguageRelevance(handle, 0, &lcid, &relevance), index_out_of_range);
    EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
}

void scan_on_small_stack(const std::string& message) {
#ifdef _WIN32
    const auto body = [](void* argument) -> DWORD { return scan(*static_cast<const std::string*>(argument)), 0; };
    const HANDLE thread = CreateThread(nullptr, promised_stack, body, const_cast<std::string*>(&message),
                                       STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(thread, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
#else
    const auto body = [](void* argument) -> void* { return scan(*static_cast<const std::string*>(argument)), nullptr; };
    pthread_attr_t attributes;
    pthread_t thread;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, promised_stack), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, body, const_cast<std::string*>(&message)), 0);
    pthread_attr_destroy(&attributes);
    pthread_join(thread, nullptr);
#endif
}

class stack : public client::engine {};

// A process dies of what does not fit.
TEST_F(stack, of_a_calling_thread_may_be_small) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "instruments take more stack";
#endif
    std::string attached;
    std::string multiparts;
    for (int depth = 0; depth < 64; ++depth) {
        attached += "Content-Type: application/octet-stream; name=a.eml\n"
                    "Content-Transfer-Encoding: quoted-printable\n\n";
        const auto name = std::to_string(depth);
        multiparts.append("Content-Type: multipart/x; boundary=b").append(name + "\n\n--b").append(name + "\n");
    }
    scan_on_small_stack(attached);
    scan_on_small_stack(multiparts);
}

} // namespace
