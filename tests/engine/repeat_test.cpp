#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <thread>

#include "tests/engine/client.h"

// What an answer may depend on: the message, and nothing else.
namespace {

namespace fs = std::filesystem;

struct judgement {
    engine_status status = status_failed;
    std::int32_t probability = -1;
    std::vector<std::pair<std::uint32_t, client::text>> trace;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> languages;
    bool operator==(const judgement&) const = default;
};

judgement judge(std::uint32_t handle) {
    judgement result;
    result.status = BRMX_Spam_GetProbability(handle, 0, &result.probability);
    for (std::uint32_t line = 0;; ++line) {
        std::uint32_t indent = 0;
        std::uint32_t length = 1000;
        client::text content(length, 0);
        auto status = BRMX_Session_GetLastTrace(handle, line, &indent, content.data(), &length);
        content.resize(length);
        if (status == buffer_too_small)
            status = BRMX_Session_GetLastTrace(handle, line, &indent, content.data(), &length);
        if (status != status_ok) break;
        result.trace.emplace_back(indent, std::move(content));
    }
    std::uint32_t lcid = 0;
    std::uint32_t relevance = 0;
    while (BRMX_Language_GetLanguageRelevance(handle, static_cast<std::uint32_t>(result.languages.size()), &lcid,
                                              &relevance) == status_ok)
        result.languages.emplace_back(lcid, relevance);
    return result;
}

judgement judge(const std::string& message) {
    const auto handle = client::open(message);
    const auto result = judge(handle);
    EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
    return result;
}

class answers : public client::engine {
protected:
    static void SetUpTestSuite() {
        client::engine::SetUpTestSuite();
        const char* const folder = std::getenv("BRMX_TEST_MESSAGES"); // others than the samples
        for (const auto& entry : fs::recursive_directory_iterator(folder ? folder : BRMX_SOURCE_DIR "/samples")) {
            if (!entry.is_regular_file() || (folder == nullptr && entry.path().extension() != ".eml")) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            samples[entry.path().string()] = {std::istreambuf_iterator<char>(in), {}};
        }
        ASSERT_GT(samples.size(), 40U);
    }
    static inline std::map<std::string, std::string> samples;
};

TEST_F(answers, do_not_depend_on_earlier_scans_nor_on_the_thread) {
    std::map<std::string, judgement> expected;
    for (const auto& [name, message] : samples)
        expected[name] = judge(message);
    constexpr std::size_t thread_count = 4;
    std::vector<std::string> different[thread_count];
    {
        std::vector<std::jthread> threads;
        for (std::size_t number = 0; number < thread_count; ++number)
            threads.emplace_back([&, number] {
                std::vector<std::string> names;
                for (const auto& [name, message] : samples)
                    names.push_back(name);
                std::ranges::reverse(names);
                std::ranges::rotate(names, names.begin() + static_cast<std::ptrdiff_t>(number * 7));
                for (const auto& name : names) {
                    const auto handle = client::open(samples[name]);
                    const auto first = judge(handle);
                    const bool same = first == expected[name] && judge(handle) == first;
                    if (!same || BRMX_Session_Destroy(handle) != status_ok) different[number].push_back(name);
                }
            });
    }
    for (const auto& names : different)
        EXPECT_EQ(names, std::vector<std::string>{});
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
