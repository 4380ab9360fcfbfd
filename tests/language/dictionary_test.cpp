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

const struct {
    std::uint32_t lcid;
    int chunks;
} lists[] = {{1029, 7}, {1030, 5}, {1031, 4}, {1035, 4}, {1036, 4}, {1038, 3}, {1040, 4}, {1043, 4}, {1044, 6},
             {1045, 8}, {1046, 7}, {1053, 4}, {1055, 3}, {1066, 7}, {2057, 5}, {2070, 6}, {3082, 4}};

// The way from the text through the generator and the compiler and back.
TEST(dictionary, built_data_holds_the_words_of_the_lists_in_their_order) {
    const words built = read_all(dictionary_index);
    auto next = built.begin();
    for (const auto& list : lists) {
        std::ifstream file(BRMX_SOURCE_DIR "/language/word_lists/" + std::to_string(list.lcid) + ".txt",
                           std::ios::binary);
        ASSERT_TRUE(file.is_open()) << list.lcid;
        int line_number = 0;
        for (std::string line; std::getline(file, line); ++next) {
            ++line_number;
            ASSERT_NE(next, built.end());
            ASSERT_EQ(*next, std::pair(list.lcid, line)) << list.lcid << ".txt:" << line_number;
        }
        EXPECT_GT(line_number, 1000) << list.lcid;
    }
    EXPECT_EQ(next, built.end());
}

TEST(dictionary, built_index_has_its_85_rows_in_order_and_no_chunk_above_2058_bytes) {
    const dictionary_row* row = dictionary_index;
    for (const auto& list : lists) {
        for (int chunk = 0; chunk < list.chunks; ++chunk, ++row) {
            ASSERT_EQ(row->lcid, list.lcid);
            EXPECT_LE(std::strlen(row->chunk) + 1, 2058U) << list.lcid << " chunk " << chunk;
            EXPECT_EQ((row->chunk[0] & 0xF0) == 0, chunk == 0) << list.lcid << " chunk " << chunk;
        }
    }
    EXPECT_EQ(row->chunk, nullptr);
    EXPECT_EQ(row - dictionary_index, 85);
}

// Every word by hand; "\303\244" is one letter.
TEST(dictionary, reads_entries) {
    const struct {
        const char* label;
        std::vector<dictionary_row> index;
        words expected;
    } cases[] = {
        {"the beginning of a real list, with a header above 0x7F",
         {{9, "\003a's\023bel\042le\043out\062ve\027cademia\046cident\063ord\143ing\222ly"}, {0, nullptr}},
         {{9, "a's"},
          {9, "abel"},
          {9, "able"},
          {9, "about"},
          {9, "above"},
          {9, "academia"},
          {9, "accident"},
          {9, "accord"},
          {9, "according"},
          {9, "accordingly"}}},
        {"a later chunk goes on from the last word of the one before",
         {{9, "\007problem"}, {9, "\161s"}, {0, nullptr}},
         {{9, "problem"}, {9, "problems"}}},
        {"a prefix that ends inside a character",
         {{9, "\005b\303\244rt\043\266se"}, {9, "\041\274"}, {0, nullptr}},
         {{9, "b\303\244rt"}, {9, "b\303\266se"}, {9, "b\303\274"}}},
        {"the longest prefix and suffix",
         {{9, "\017abcdefghijklmno\377pqrstuvwxyzabcd"}, {0, nullptr}},
         {{9, "abcdefghijklmno"}, {9, "abcdefghijklmnopqrstuvwxyzabcd"}}},
        {"a byte order mark belongs to its word",
         {{9, "\003aus\007\357\273\277wort"}, {0, nullptr}},
         {{9, "aus"}, {9, "\357\273\277wort"}}},
        {"a new language starts afresh, with empty chunks on the way",
         {{9, "\003aus"}, {9, ""}, {10, "\003but"}, {10, ""}, {0, nullptr}},
         {{9, "aus"}, {10, "but"}}},
        {"what stands behind the zero belongs to nothing", {{9, "\003aus\000\003ein"}, {0, nullptr}}, {{9, "aus"}}},
        {"no row", {{0, nullptr}}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(read_all(c.index.data()), c.expected);
    }
}

} // namespace
