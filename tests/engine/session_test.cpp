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
    EXPECT_EQ(BRMX_Session_Destroy(first), unknown_session);
    EXPECT_EQ(counts(), std::pair(before.first + 1, before.second + 2));
    EXPECT_EQ(BRMX_Session_Destroy(0), unknown_session);
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
    EXPECT_EQ(BRMX_Session_CreateFromMemory("", 0, nullptr), null_argument);
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

TEST_F(session, hands_out_a_line_whole_or_not_at_all) {
    const auto handle = open_session("Subject: x\r\n\r\n");
    std::uint32_t indent = 77;
    std::uint32_t length = 99;
    text line(20, '#');
    EXPECT_EQ(BRMX_Session_GetLastTrace(handle, 0, &indent, line.data(), &length), index_out_of_range);
    EXPECT_EQ(length, 99U);
    std::int32_t probability = 0;
    ASSERT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);

    const struct {
        const char* label;
        bool buffer;
        std::uint32_t size;
        engine_status status;
    } cases[] = {
        {"no buffer", false, 20, buffer_too_small},
        {"one short", true, 13, buffer_too_small},
        {"exact", true, 14, status_ok},
        {"roomy", true, 20, status_ok},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        line.assign(20, '#');
        indent = 77;
        length = c.size;
        EXPECT_EQ(BRMX_Session_GetLastTrace(handle, 0, &indent, c.buffer ? line.data() : nullptr, &length), c.status);
        EXPECT_EQ(length, 14U);
        EXPECT_EQ(indent, c.status == status_ok ? 0U : 77U);
        const std::string got(line.begin(), line.end());
        EXPECT_EQ(got, c.status == status_ok ? "Message Parts:######" : std::string(20, '#'));
    }
    EXPECT_EQ(BRMX_Session_GetLastTrace(handle, 0, nullptr, line.data(), &length), null_argument);
    EXPECT_EQ(BRMX_Session_GetLastTrace(handle, 0, &indent, line.data(), nullptr), null_argument);
    EXPECT_EQ(BRMX_Session_GetLastTrace(handle, 0xFFFFFFFF, &indent, line.data(), &length), index_out_of_range);
}

} // namespace
