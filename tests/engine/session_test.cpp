#include "tests/engine/client.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

using client::text;

class session : public client::engine {
protected:
    static std::pair<std::uint32_t, std::uint32_t> counts() { // open, made
        std::pair<std::uint32_t, std::uint32_t> result;
        EXPECT_EQ(BRMX_Engine_GetSessionInformation(&result.first, &result.second), status_ok);
        return result;
    }
};

// Headers that open `depth` multiparts, one inside the other.
std::string nested(int depth) {
    std::string message;
    for (int level = 0; level < depth; ++level)
        message += "Content-Type: multipart/mixed; boundary=b" + std::to_string(level) + "\r\n\r\n--b" +
                   std::to_string(level) + "\r\n";
    return message + "\r\nx\r\n";
}

TEST_F(session, counts_handles_up_and_the_table_down) {
    const auto before = counts();
    const auto first = open_session("a: b\r\n\r\n");
    const auto second = open_session("");
    EXPECT_EQ(first, before.second + 1);
    EXPECT_EQ(second, before.second + 2);
    EXPECT_EQ(counts(), std::pair(before.first + 2, before.second + 2));
    EXPECT_EQ(BRMX_Session_Destroy(first), status_ok);
    EXPECT_EQ(counts(), std::pair(before.first + 1, before.second + 2));
}

TEST_F(session, takes_no_handle_for_a_message_that_is_refused) {
    const auto before = counts();
    std::uint32_t handle = 77;
    const auto deep = nested(65);
    EXPECT_EQ(BRMX_Session_CreateFromMemory(deep.data(), static_cast<std::uint32_t>(deep.size()), &handle),
              message_too_deep);
    const std::string undecodable = "Content-Type: =?utf-8?Q?=XX?=\r\n\r\n";
    EXPECT_EQ(
        BRMX_Session_CreateFromMemory(undecodable.data(), static_cast<std::uint32_t>(undecodable.size()), &handle),
        status_failed);
    EXPECT_EQ(handle, 77U);
    EXPECT_EQ(counts(), before);
    open_session(nested(64));
}

TEST_F(session, reads_a_file_by_its_wide_name) {
    // A file name outside of any single-byte code page.
    const auto path = std::filesystem::temp_directory_path() / u"brmx_session_\u0436\u4e2d.eml";
    std::ofstream(path, std::ios::binary) << "Message-ID: <1>\r\nContent-Type: text/plain; name=a.txt\r\n\r\nbody";
    const auto wide = path.u16string();
    const text name(wide.begin(), wide.end());
    std::uint32_t handle = 0;
    ASSERT_EQ(BRMX_Session_CreateFromFile(name.data(), static_cast<std::uint32_t>(name.size()), &handle), status_ok);
    std::filesystem::remove(path);
    std::int32_t probability = 0;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
    EXPECT_EQ(probability, 60); // a file in place of a message, and three fields are missing
    EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
    handle = 77;
    EXPECT_EQ(BRMX_Session_CreateFromFile(name.data(), static_cast<std::uint32_t>(name.size()), &handle),
              file_not_loaded);
    EXPECT_EQ(handle, 77U);
}

TEST(heap_information, sees_a_large_block) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer brings an allocator of its own";
#endif
    std::uint32_t blocks = 0, before = 0, after = 0;
    EXPECT_EQ(BRMX_Engine_GetHeapInformation(&blocks, &before, nullptr, nullptr), status_ok);
    EXPECT_GT(blocks, 0U);
    const std::vector<char> block(64U << 20U, 'x');
    EXPECT_EQ(BRMX_Engine_GetHeapInformation(nullptr, &after, nullptr, nullptr), status_ok);
    EXPECT_GE(after - before, block.size() / 2); // others allocate and free meanwhile
}

} // namespace
