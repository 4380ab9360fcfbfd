#include <barrier>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

#include "tests/engine/life.h"

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

class language_exports : public client::engine {};

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
        bool wine_lacks_page = false; // the bytes then count one by one, and say nothing
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
        {"japanese-iso-2022-jp", {{1041, 128}}, true},
        {"korean", {{1042, 89}}},
        {"korean-euc-kr", {{1042, 89}}, true},
        {"traditional-chinese", {{1028, 74}}},
        {"simplified-chinese", {{1028, 74}}},
        {"simplified-chinese-gb18030", {{1028, 74}}, true},
        {"thai", {{1054, 148}}},
        {"armenian", {{1067, 186}}},
    };
    constexpr bool windows = std::is_same_v<brmx_char, wchar_t>;
    for (const auto& c : cases) {
        const auto found = ask(open_session(file(c.name)));
        if (windows && c.wine_lacks_page && found.empty()) continue;
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
    EXPECT_EQ(BRMX_Language_GetSupportedLanguages(0xFFFFFFFF, &lcid), index_out_of_range);
}

const std::string because = "because because because\r\n"; // 21 letters

TEST_F(language_exports, explain_themselves) {
    const std::string plain = "Content-Type: text/plain\r\n";
    const std::string english = "100% English -- Matched: 21, Target: 21, LCID: 2057";
    const auto unclear = [](const char* letters) {
        return std::string("Insufficient or ambigious input data (") + letters + " characters).";
    };
    const struct {
        const char* label;
        std::string message;
        std::string last;
        bool is_refused = false; // before any detection
    } cases[] = {
        {"a result", plain + "\r\n" + because, english},
        {"the Subject counts", plain + "Subject: because because\r\n\r\nbecause", english},
        {"a blank comes after the Subject", plain + "Subject: becaus\r\n\r\ne because because",
         "66% English -- Matched: 14, Target: 21, LCID: 2057"},
        {"an undecodable Subject is ignored", plain + "Subject: =?shift_jis?B?gQ==?= because\r\n\r\n" + because,
         english},
        {"15 letters", plain + "\r\nbecause because b", unclear("15")},
        {"no text", plain + "\r\n", unclear("0")},
        {"nothing at all", "", unclear("0")},
        {"undecodable text counts byte by byte",
         "Content-Type: text/plain; charset=shift_jis\r\n\r\n" + because + "\x81", english},
        {"no displayable part", "Content-Type: application/pdf\r\n\r\n" + because,
         "No displayable text part found in message", true},
        {"the largest part, with the line end that the body gets", plain + "\r\n" + std::string(262142, 'a'),
         unclear("262142")},
        {"a byte above the largest part", plain + "\r\n" + std::string(262143, 'a'),
         "Part is too large for fast processing", true},
        {"what a page shows, not its title",
         "Content-Type: text/html\r\n\r\n<title>auch auch auch auch</title><body>" + because + "</body>", english},
        {"a page without a body", "Content-Type: text/html\r\n\r\n<p>" + because, english},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const auto handle = open_session(c.message);
        ask(handle);
        auto lines = client::trace_of(handle);
        ASSERT_GE(lines.size(), 4U);
        EXPECT_EQ(lines[0], client::line(0, "Message Parts:"));
        EXPECT_EQ(lines.back(), client::line(c.is_refused ? 0 : 1, c.last));
        lines.pop_back();
        if (!c.is_refused) {
            EXPECT_EQ(lines.back(), client::line(0, "Language Detection:"));
            lines.pop_back();
        }
        EXPECT_EQ(lines.back(), client::line(0, ""));
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

// In a process of its own, where nobody has asked yet.
void first_use_by_16_threads() {
    BRMX_Engine_Initialize();
    const auto handle = client::open("\r\n" + because);
    std::barrier start(16);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 16; ++thread)
        threads.emplace_back([&, thread] {
            std::uint32_t lcid = 0;
            start.arrive_and_wait();
            EXPECT_TRUE(thread != 0 || ask(handle) == (results{{2057, 21}}));
            EXPECT_EQ(BRMX_Language_GetSupportedLanguages(30, &lcid), status_ok);
            EXPECT_EQ(lcid, 3082U);
        });
    for (auto& thread : threads)
        thread.join();
    // The shutdown takes the plugin down; whoever asks later gets a new one.
    EXPECT_EQ(BRMX_Engine_Shutdown(), status_ok);
    EXPECT_EQ(ask(handle), (results{{2057, 21}}));
}

TEST(language_first_use, is_shared_by_threads_that_come_at_once) { EXPECT_LIFE(first_use_by_16_threads); }

} // namespace
