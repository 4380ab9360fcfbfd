#include "community/wire/packet.h"

#include "tests/community/bytes.h"

#include <gtest/gtest.h>

#include <optional>
#include <span>

namespace brimwarden::analysis::community {
namespace {

struct number_case {
    const char* label;
    const char* bytes;
    std::uint64_t value;
    bool is_whole = true;
};

const number_case written[] = {
    {"zero", "00", 0},
    {"largest in one group", "7F", 127},
    {"smallest in two groups", "81 00", 128},
    {"two groups", "82 2C", 300},
    {"largest in two groups", "FF 7F", 16383},
    {"smallest in three groups", "81 80 00", 16384},
    {"all 64 bits", "81 FF FF FF FF FF FF FF FF 7F", UINT64_MAX},
};

const number_case read_only[] = {
    {"leading zero groups", "80 80 80 80 80 80 80 80 80 80 80 80 05", 5},
    {"one group too many", "82 80 80 80 80 80 80 80 80 05", 5},
    {"ends inside", "82 83", 2 << 7 | 3, false},
    {"nothing", "", 0, false},
};

TEST(packet, writes_numbers_without_leading_groups) {
    for (const auto& c : written) {
        SCOPED_TRACE(c.label);
        packet out;
        out.body = "in front";
        out.write_number(c.value);
        EXPECT_EQ(out.body, "in front" + unhex(c.bytes));
    }
}

TEST(packet, reads_numbers) {
    for (const auto& cases : {std::span<const number_case>(written), std::span<const number_case>(read_only)})
        for (const auto& c : cases) {
            SCOPED_TRACE(c.label);
            packet in;
            in.body = unhex(c.bytes);
            std::uint64_t value = 77;
            EXPECT_EQ(in.read_number(value), c.is_whole);
            EXPECT_EQ(value, c.value);
            EXPECT_EQ(in.read_position, in.body.size());
        }
}

struct text_case {
    const char* label;
    const char* bytes;
    std::optional<string> text;
};

const text_case text_cases[] = {
    {"with a zero byte", "03 61 00 62", string("a\0b", 3)},
    {"empty", "00", ""},
    {"rest stays", "01 61 62 63", "a"},
    {"one byte short", "03 61 62", std::nullopt},
    {"length that wraps to the end", "81 FF FF FF FF FF FF FF FF 7F 61", std::nullopt},
    {"length that wraps to the start", "81 FF FF FF FF FF FF FF FF 75", std::nullopt},
    {"length cut off", "83", std::nullopt},
};

TEST(packet, reads_texts_that_are_there_as_a_whole) {
    for (const auto& c : text_cases) {
        SCOPED_TRACE(c.label);
        packet in;
        in.body = unhex(c.bytes);
        string text = "before";
        EXPECT_EQ(in.read_text(text), c.text.has_value());
        EXPECT_EQ(text, c.text.value_or("before"));
    }
}

TEST(packet, takes_the_header_apart) {
    packet in;
    in.body = "old";
    in.read_position = 3;
    ASSERT_TRUE(in.parse(exact_copy(unhex("52 56 4E 09 D5 07 00 01 02 03 04 05 06 07 08 FF")).view()));
    EXPECT_EQ(in.version, 9);
    EXPECT_TRUE(in.reply_mark);
    EXPECT_TRUE(in.encrypted);
    EXPECT_EQ(in.indicator, 2U);
    EXPECT_EQ(in.operation, 5U);
    EXPECT_EQ(in.attempt, 7);
    EXPECT_EQ(in.nonce[9], '\xFF');
    EXPECT_EQ(in.body, "");
    EXPECT_EQ(in.read_position, 0U);
    ASSERT_TRUE(in.parse(unhex("52 56 4E 03 28 00 00 01 02 03 04 05 06 07 08 09 41 42")));
    EXPECT_FALSE(in.reply_mark);
    EXPECT_FALSE(in.encrypted);
    EXPECT_EQ(in.indicator, 5U);
    EXPECT_EQ(in.body, "AB");
}

TEST(packet, is_no_packet_without_header_or_magic) {
    const string whole = unhex("52 56 4E 03 40 00 00 01 02 03 04 05 06 07 08 09");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        packet in;
        EXPECT_FALSE(in.parse(exact_copy(whole.substr(0, length)).view())) << length;
    }
    for (std::size_t at = 0; at < 3; ++at) {
        string wrong = whole;
        wrong[at] ^= 0x20;
        packet in;
        EXPECT_FALSE(in.parse(wrong)) << at;
    }
}

TEST(packet, renders_only_the_low_bits_of_its_fields) {
    packet out;
    out.version = 3;
    out.attempt = 255;
    out.operation = 0xFFFFFFFA;
    out.indicator = 9;
    out.body = "b";
    EXPECT_EQ(out.render(), unhex("52 56 4E 03 0A FF 00 00 00 00 00 00 00 00 00 00 62"));
}

} // namespace
} // namespace brimwarden::analysis::community
