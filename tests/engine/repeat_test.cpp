#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <thread>

#include "tests/engine/client.h"

// What an answer may depend on: the message, and nothing else.
namespace {

namespace fs = std::filesystem;

// Status, probability, trace and languages as one text.
std::string judge(std::string_view message) {
    const auto handle = client::open(message);
    std::int32_t probability = -1;
    std::string result = std::to_string(BRMX_Spam_GetProbability(handle, 0, &probability));
    result += ' ' + std::to_string(probability) + '\n';
    for (const auto& [indent, line] : client::trace_of(handle))
        result += std::string(indent, '\t') + line + '\n';
    std::uint32_t lcid = 0, relevance = 0;
    for (std::uint32_t i = 0; BRMX_Language_GetLanguageRelevance(handle, i, &lcid, &relevance) == status_ok; ++i)
        result += std::to_string(lcid) + ' ' + std::to_string(relevance) + '\n';
    EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
    return result;
}

class answers : public client::engine {
protected:
    static void SetUpTestSuite() {
        client::engine::SetUpTestSuite();
        for (const auto& entry : fs::recursive_directory_iterator(BRMX_SOURCE_DIR "/samples")) {
            if (entry.path().extension() != ".eml") continue;
            std::ifstream in(entry.path(), std::ios::binary);
            samples[entry.path().string()] = {std::istreambuf_iterator<char>(in), {}};
        }
        ASSERT_GT(samples.size(), 40U);
    }
    static inline std::map<std::string, std::string> samples;
};

TEST_F(answers, do_not_depend_on_earlier_scans_nor_on_the_thread) {
    std::map<std::string, std::string> expected;
    for (const auto& [name, message] : samples)
        expected[name] = judge(message);
    std::vector<std::jthread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&, number] {
            for (auto at = samples.rbegin(); at != samples.rend(); ++at) {
                if (number % 2 == 0) (void)judge(samples.begin()->second);
                EXPECT_EQ(judge(at->second), expected.at(at->first)) << at->first;
            }
        });
}

// The lines as a loader counts them: both ends in either order are one end.
std::vector<std::string> lines_of(const std::string& message) {
    std::vector<std::string> lines(1);
    for (std::size_t i = 0; i < message.size(); ++i) {
        const char c = message[i];
        if (c != '\r' && c != '\n') {
            lines.back() += c;
            continue;
        }
        const char next = i + 1 < message.size() ? message[i + 1] : c;
        if (next != c && (next == '\r' || next == '\n')) ++i;
        lines.emplace_back();
    }
    return lines;
}

// All signatures, those of attached files too: what is not encoded is a row of lines to the loader, whatever bytes end
// them, and what is encoded holds no line ends of the message.
TEST_F(answers, do_not_depend_on_the_kind_of_line_ends) {
    for (const auto& [name, message] : samples) {
        const auto expected = judge(message);
        for (const std::string end : {"\r\n", "\n", "\r", "\n\r"}) {
            std::string other;
            for (const auto& line : lines_of(message))
                (other += line) += end;
            other.resize(other.size() - end.size());
            EXPECT_EQ(judge(other), expected) << name << ", " << end.size() << (end[0] == '\r' ? " CR" : " LF");
        }
    }
}

} // namespace
