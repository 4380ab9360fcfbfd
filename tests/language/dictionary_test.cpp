#include "language/dictionary_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace brimwarden::language;

using words = std::vector<std::pair<std::uint32_t, std::string>>;

words read_all(const dictionary_row* index) {
    words result;
    for (dictionary_reader reader(index); reader.next();)
        result.emplace_back(reader.lcid(), reader.word());
    return result;
}

// From the lists through the generator and the compiler and back.
TEST(dictionary, built_data_holds_the_words_of_the_lists_in_their_order) {
    const words built = read_all(dictionary_index);
    auto next = built.begin();
    for (const std::uint32_t lcid :
         {1029, 1030, 1031, 1035, 1036, 1038, 1040, 1043, 1044, 1045, 1046, 1053, 1055, 1066, 2057, 2070, 3082}) {
        std::ifstream file(BRMX_SOURCE_DIR "/language/word_lists/" + std::to_string(lcid) + ".txt", std::ios::binary);
        ASSERT_TRUE(file.is_open()) << lcid;
        for (std::string line; std::getline(file, line); ++next) {
            ASSERT_NE(next, built.end());
            ASSERT_EQ(*next, std::pair(lcid, line));
        }
    }
    EXPECT_EQ(next, built.end());
    EXPECT_GT(built.size(), 17'000U);
    const dictionary_row* row = dictionary_index;
    for (; row->chunk != nullptr; ++row)
        EXPECT_LE(std::strlen(row->chunk) + 1, 2058U);
    EXPECT_EQ(row - dictionary_index, 85);
}

// Every word by hand; "\303\244" is one letter.
TEST(dictionary, reads_entries) {
    const struct {
        const char* label;
        std::vector<dictionary_row> index;
        words expected;
    } cases[] = {
        {"headers above 0x7F",
         {{9, "\003a's\063ord\143ing\222ly"}, {0, nullptr}},
         {{9, "a's"}, {9, "a'sord"}, {9, "a'sording"}, {9, "a'sordingly"}}},
        {"a later chunk goes on from the last word of the one before",
         {{9, "\007problem"}, {9, "\161s"}, {0, nullptr}},
         {{9, "problem"}, {9, "problems"}}},
        {"a prefix that ends inside a character",
         {{9, "\005b\303\244rt\043\266se"}, {9, "\041\274"}, {0, nullptr}},
         {{9, "b\303\244rt"}, {9, "b\303\266se"}, {9, "b\303\274"}}},
        {"the longest prefix and suffix",
         {{9, "\017abcdefghijklmno\377pqrstuvwxyzabcd"}, {0, nullptr}},
         {{9, "abcdefghijklmno"}, {9, "abcdefghijklmnopqrstuvwxyzabcd"}}},
        {"a new language starts afresh, with empty chunks on the way",
         {{9, "\003aus"}, {9, ""}, {10, "\003but"}, {10, ""}, {0, nullptr}},
         {{9, "aus"}, {10, "but"}}},
        {"what follows the zero belongs to nothing", {{9, "\003aus\000\003ein"}, {0, nullptr}}, {{9, "aus"}}},
        {"no row", {{0, nullptr}}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(read_all(c.index.data()), c.expected);
    }
}

} // namespace
