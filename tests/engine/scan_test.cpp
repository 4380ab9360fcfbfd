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

TEST_F(scan, leaves_everything_alone_without_a_session) {
    std::int32_t probability = 77;
    EXPECT_EQ(BRMX_Spam_GetProbability(0xFFFFFFF0, 0, &probability), unknown_session);
    EXPECT_EQ(probability, 77);
    EXPECT_EQ(BRMX_Spam_GetProbability(0xFFFFFFF0, 0, nullptr), null_argument);
}

// No single field that cannot be read may blind the scan: the finding is not made, the others are.
TEST_F(scan, goes_on_behind_a_field_that_cannot_be_decoded) {
    const auto handle = open_session("Message-ID: =?utf-8?Q?=XX?=\r\n"
                                     "Content-Type: application/pdf\r\n"
                                     "Content-Disposition: attachment; filename=\"=?shift_jis?B?gf8=?=\"\r\n"
                                     "\r\nx\r\n");
    std::int32_t probability = -1;
    EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
    const auto trace = client::trace_of(handle);
    ASSERT_GT(trace.size(), 1U);
    EXPECT_EQ(trace[1].second.substr(0, 21), "application/pdf -- ID");
}

TEST_F(scan, virus_family_keeps_its_place) {
    const auto handle = open_session("");
    for (const auto get :
         {BRMX_Virus_GetInfected, BRMX_Virus_GetEncrypted, BRMX_Virus_GetCorrupted, BRMX_Virus_GetSuspiciousParts}) {
        EXPECT_EQ(get(handle), not_implemented);
        EXPECT_EQ(get(handle, 1, nullptr), not_implemented);
        EXPECT_EQ(get(0xFFFFFFF0), unknown_session);
    }
    EXPECT_EQ(BRMX_Virus_GetDefinitions(), not_implemented);
}

// Sizes and shapes that hurt if anything is recursive, quadratic or counted in too few bits.
TEST_F(scan, survives_hostile_shapes) {
    std::string parts = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < 20000; ++i)
        parts += "--b\r\n\r\nx\r\n";
    std::string noise(1U << 20U, '\0');
    std::uint32_t state = 1;
    for (auto& byte : noise)
        byte = static_cast<char>((state = state * 1664525U + 1013904223U) >> 24U);
    const struct {
        const char* label;
        std::string message;
    } cases[] = {
        {"nothing", ""},
        {"NUL bytes", std::string(5000, '\0')},
        {"line ends", std::string(1U << 20U, '\n')},
        {"one long line", std::string(1U << 22U, 'a')},
        {"header lines",
         [] {
             std::string lines;
             for (int i = 0; i < 100000; ++i)
                 lines += "a:b\n";
             return lines;
         }()},
        {"many parts", parts},
        {"noise", noise},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const auto handle = open_session(c.message);
        std::int32_t probability = -1;
        EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
        EXPECT_GE(probability, 0);
        EXPECT_LE(probability, 100);
    }
}

} // namespace
