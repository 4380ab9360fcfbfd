#include "tests/engine/client.h"

namespace {

using client::line;

class scan : public client::engine {};

constexpr const char* bounce = "Message-ID: <1@a.example>\r\n"
                               "Content-Type: multipart/report; boundary=b\r\n"
                               "\r\n"
                               "--b\r\n"
                               "Content-Type: text/plain\r\n"
                               "\r\n"
                               "Not delivered.\r\n"
                               "--b\r\n"
                               "Content-Type: message/rfc822\r\n"
                               "\r\n"
                               "Content-Type: application/x-thing; name=\"a b.bin\"\r\n"
                               "\r\n"
                               "1234\r\n"
                               "--b--\r\n";

TEST_F(scan, explains_its_answer) {
    const auto handle = open_session(bounce);
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
    EXPECT_EQ(probability, 90);
    const auto trace = client::trace_of(handle);
    const std::vector<line> expected = {
        {0, "Message Parts:"},
        {1, "multipart/report -- ID: 0x1, Bytes: 0"},
        {2, "text/plain -- ID: 0x2, Bytes: 16"},
        {2, "message/rfc822 -- ID: 0x3, Bytes: 0"},
        {3, "application/x-thing \"a b.bin\" -- ID: 0x4, Bytes: 6, Logical Root"},
        {0, ""},
        {0, "Generated Signatures:"},
        {1, "prd /w6yhk/rIjVHR/jIXULMtQ"},
        {0, ""},
        {0, "Test Results:"},
        {1, "10.00  Root.Message-ID.Missing -- Message root is missing Message-ID: field"},
        {1, "10.00  Root.Attachment -- Message root is an attachment"},
        {1, "10.00  Root.Content-Type.Suspicious -- Message root has suspicious Content-Type: field"},
        {1, "20.00  Header.Subject.Empty -- Subject: field contains no printable characters"},
        {1, "10.00  Header.From.Empty -- From: field contains no entries"},
        {1, "10.00  Header.To.Empty -- To: field contains no entries"},
        {1, "20.00  Message.Not_Displayable -- No displayable text part found in message"},
        {0, ""},
        {0, "Overall Classification:"},
        {1, "Spam Probability: 90.00"},
    };
    EXPECT_EQ(trace, expected);
}

TEST_F(scan, replaces_the_trace_of_the_scan_before) {
    const auto handle = open_session("Message-ID: <1>\r\nContent-Type: text/plain\r\n\r\nx");
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
    const auto first = client::trace_of(handle);
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0xFFFFFFFF, &probability), community_unavailable);
    EXPECT_EQ(client::trace_of(handle), first);
    EXPECT_EQ(probability, 50); // no Subject, no sender, no recipient, a short text
    EXPECT_EQ(first.back(), line(1, "Spam Probability: 50.00"));
}

} // namespace
