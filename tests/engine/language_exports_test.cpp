#include <barrier>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

#include "tests/engine/client.h"

namespace {

using results = std::vector<std::pair<std::uint32_t, std::uint32_t>>; // LCID and relevance

results ask(std::uint32_t handle) {
    results found;
    for (;;) {
        std::uint32_t lcid = 77;
        std::uint32_t relevance = 77;
        const auto index = static_cast<std::uint32_t>(found.size());
        const auto status = BRMX_Language_GetLanguageRelevance(handle, index, &lcid, &relevance);
        if (status != status_ok) {
            EXPECT_EQ(status, index_out_of_range);
            EXPECT_TRUE(lcid == 77 && relevance == 77);
            return found;
        }
        found.emplace_back(lcid, relevance);
    }
}

class language_exports : public client::engine {
protected:
    // The trace of a language question on a message.
    std::vector<client::line> lines_for(const std::string& message) {
        const auto handle = open_session(message);
        ask(handle);
        return client::trace_of(handle);
    }
};

std::string file(const std::string& name) {
    std::ifstream in(BRMX_SOURCE_DIR "/samples/languages/" + name + ".eml", std::ios::binary);
    EXPECT_TRUE(in.is_open()) << name;
    return {std::istreambuf_iterator<char>(in), {}};
}

// The counts come from another implementation over the texts that the messages were made from.
TEST_F(language_exports, answer_for_samples_alike_on_all_targets) {
    const struct {
        const char* name;
        results expected;
        int wine_lacks = 0; // this code page: the bytes then count one by one, and say nothing
    } cases[] = {
        {"czech", {{1029, 141}}},
        {"danish", {{1030, 139}, {1044, 110}}},
        {"german", {{1031, 250}}},
        {"finnish", {{1035, 144}}},
        {"french", {{1036, 213}}},
        {"hungarian", {{1038, 58}}},
        {"italian", {{1040, 116}}},
        {"dutch", {{1043, 215}}},
        {"norwegian", {{1044, 146}}},
        {"polish", {{1045, 175}}},
        {"brazilian", {{1046, 135}, {2070, 133}}},
        {"swedish", {{1053, 121}}},
        {"turkish", {{1055, 135}}},
        {"vietnamese", {{1066, 296}}},
        {"english", {{2057, 256}}},
        {"portuguese", {{1046, 164}, {2070, 202}}},
        {"spanish", {{3082, 209}}},
        {"russian", {{1049, 240}}},
        {"greek", {{1032, 208}}},
        {"hebrew", {{1037, 135}}},
        {"arabic", {{1025, 159}}},
        {"japanese", {{1041, 128}}},
        {"japanese-iso-2022-jp", {{1041, 128}}, 50221},
        {"korean", {{1042, 89}}},
        {"korean-euc-kr", {{1042, 89}}, 51949},
        {"traditional-chinese", {{1028, 74}}},
        {"simplified-chinese", {{1028, 74}}},
        {"simplified-chinese-gb18030", {{1028, 74}}, 54936},
        {"thai", {{1054, 148}}},
        {"armenian", {{1067, 186}}},
    };
    constexpr bool windows = std::is_same_v<brmx_char, wchar_t>;
    for (const auto& c : cases) {
        const auto found = ask(open_session(file(c.name)));
        if (windows && c.wine_lacks != 0 && found.empty()) continue;
        EXPECT_EQ(found, c.expected) << c.name;
    }
}

TEST_F(language_exports, list_31_languages_in_ascending_order) {
    std::vector<std::uint32_t> languages;
    std::uint32_t lcid = 0;
    while (BRMX_Language_GetSupportedLanguages(static_cast<std::uint32_t>(languages.size()), &lcid) == status_ok)
        languages.push_back(lcid);
    EXPECT_EQ(languages, (std::vector<std::uint32_t>{1025, 1028, 1029, 1030, 1031, 1032, 1035, 1036, 1037, 1038, 1040,
                                                     1041, 1042, 1043, 1044, 1045, 1046, 1049, 1053, 1054, 1055, 1066,
                                                     1067, 1114, 1118, 2052, 2057, 2070, 2128, 2129, 3082}));
    EXPECT_EQ(BRMX_Language_GetSupportedLanguages(31, &lcid), index_out_of_range);
    EXPECT_EQ(BRMX_Language_GetSupportedLanguages(0xFFFFFFFF, &lcid), index_out_of_range);
    EXPECT_EQ(BRMX_Language_GetSupportedLanguages(0, nullptr), null_argument);
}

const std::string because = "because because because\r\n"; // 21 letters

TEST_F(language_exports, explain_themselves) {
    const std::string plain = "Content-Type: text/plain\r\n";
    const client::line parts{0, "Message Parts:"};
    const client::line heading{0, "Language Detection:"};
    const struct {
        const char* label;
        std::string message;
        client::line last;
    } cases[] = {
        {"a result", plain + "\r\n" + because, {1, "100% English -- Matched: 21, Target: 21, LCID: 2057"}},
        {"the Subject counts",
         plain + "Subject: because because\r\n\r\nbecause",
         {1, "100% English -- Matched: 21, Target: 21, LCID: 2057"}},
        {"a blank stands behind the Subject",
         plain + "Subject: becaus\r\n\r\ne because because",
         {1, "66% English -- Matched: 14, Target: 21, LCID: 2057"}},
        {"an undecodable Subject counts as none",
         plain + "Subject: =?shift_jis?B?gQ==?= because\r\n\r\n" + because,
         {1, "100% English -- Matched: 21, Target: 21, LCID: 2057"}},
        {"15 letters", plain + "\r\nbecause because b", {1, "Insufficient or ambigious input data (15 characters)."}},
        {"no text", plain + "\r\n", {1, "Insufficient or ambigious input data (0 characters)."}},
        {"nothing at all", "", {1, "Insufficient or ambigious input data (0 characters)."}},
        {"undecodable text counts byte by byte",
         "Content-Type: text/plain; charset=shift_jis\r\n\r\n" + because + "\x81",
         {1, "100% English -- Matched: 21, Target: 21, LCID: 2057"}},
        {"no displayable part",
         "Content-Type: application/pdf\r\n\r\n" + because,
         {0, "No displayable text part found in message"}},
        {"the largest part, with the line end that the body gets",
         plain + "\r\n" + std::string(262142, 'a'),
         {1, "Insufficient or ambigious input data (262142 characters)."}},
        {"a byte more", plain + "\r\n" + std::string(262143, 'a'), {0, "Part is too large for fast processing"}},
        {"what a page shows, not its title",
         "Content-Type: text/html\r\n\r\n<title>auch auch auch auch</title><body>" + because + "</body>",
         {1, "100% English -- Matched: 21, Target: 21, LCID: 2057"}},
        {"a page without a body",
         "Content-Type: text/html\r\n\r\n<p>" + because,
         {1, "100% English -- Matched: 21, Target: 21, LCID: 2057"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const auto lines = lines_for(c.message);
        ASSERT_GE(lines.size(), 4U);
        EXPECT_EQ(lines[0], parts);
        EXPECT_EQ(lines[lines.size() - (c.last.first == 0 ? 2 : 3)], client::line(0, ""));
        if (c.last.first != 0) {
            EXPECT_EQ(lines[lines.size() - 2], heading);
        }
        EXPECT_EQ(lines.back(), c.last);
    }
}

TEST_F(language_exports, remember_a_result_and_ask_again_for_none) {
    const auto scan = [](std::uint32_t handle) {
        std::int32_t probability = 0;
        EXPECT_EQ(BRMX_Spam_GetProbability(handle, 0, &probability), community_unavailable);
        return client::trace_of(handle);
    };
    const auto with = open_session("\r\n" + because);
    const results expected{{2057, 21}};
    EXPECT_EQ(ask(with), expected);
    const auto scanned = scan(with);
    EXPECT_EQ(ask(with), expected);
    EXPECT_EQ(client::trace_of(with), scanned);

    const auto without = open_session("\r\nshort");
    EXPECT_EQ(ask(without), results{});
    const auto explained = client::trace_of(without);
    EXPECT_NE(scan(without), explained);
    EXPECT_EQ(ask(without), results{});
    EXPECT_EQ(client::trace_of(without), explained);
}

TEST_F(language_exports, refuse) {
    std::uint32_t lcid = 0;
    std::uint32_t relevance = 0;
    const auto handle = open_session("\r\n" + because);
    EXPECT_EQ(BRMX_Language_GetLanguageRelevance(0xFFFFFFF0, 0, &lcid, &relevance), unknown_session);
    EXPECT_EQ(BRMX_Language_GetLanguageRelevance(handle, 0, nullptr, &relevance), null_argument);
    EXPECT_EQ(BRMX_Language_GetLanguageRelevance(handle, 0, &lcid, nullptr), null_argument);
    EXPECT_EQ(BRMX_Language_SetConfigurationPath(nullptr), null_argument);
    EXPECT_EQ(BRMX_Language_SetConfigurationPath("anything"), status_ok);
}

// In a process of its own, where nobody has asked yet.
void first_use_by_16_threads() {
    std::atomic<bool> wrong = BRMX_Language_SetConfigurationPath("anything") != engine_not_initialized;
    BRMX_Engine_Initialize();
    const auto handle = client::open("\r\n" + because);
    std::barrier start(16);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 16; ++thread)
        threads.emplace_back([&, thread] {
            std::uint32_t lcid = 0;
            start.arrive_and_wait();
            if (thread == 0 && ask(handle) != results{{2057, 21}}) wrong = true;
            if (thread != 0 && (BRMX_Language_GetSupportedLanguages(30, &lcid) != status_ok || lcid != 3082))
                wrong = true;
        });
    for (auto& thread : threads)
        thread.join();
    // The shutdown takes the plugin down; whoever asks later gets a new one.
    wrong = wrong || BRMX_Engine_Shutdown() != status_ok || ask(handle) != results{{2057, 21}};
    std::_Exit(wrong ? 1 : 0);
}

TEST(language_first_use, is_shared_by_threads_that_come_at_once) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(first_use_by_16_threads(), testing::ExitedWithCode(0), "");
}

} // namespace
