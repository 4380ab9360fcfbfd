#include "foundation/text/unicode.h"
#include "foundation/text/variant.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace tackle {
namespace {

constexpr std::uint64_t top_bit = std::uint64_t{1} << 63;

TEST(variant, reads_numbers_back) {
    const struct {
        const char* label;
        variant value;
        bool boolean;
        std::uint32_t integer;
        std::uint64_t large;
        float floating;
        string text;
        std::uint64_t size;
    } cases[] = {
        {"none", variant(), false, 0, 0, 0, "", 0},
        {"above 32 bits", variant::of_large(0x100000002), true, 2, 0x100000002, 4294967298.0F, "4294967298", 8},
        {"all bits", variant::of_large(UINT64_MAX), true, 0xFFFFFFFF, UINT64_MAX, 18446744073709551616.0F, "-1", 8},
        {"float", variant::of_floating(1.5F), true, 1, 1, 1.5F, "1.500000", 4},
        {"negative zero", variant::of_floating(-0.0F), false, 0, 0, 0, "-0.000000", 4},
        {"negative", variant::of_floating(-1.5F), true, 0xFFFFFFFF, UINT64_MAX, -1.5F, "-1.500000", 4},
        {"2^63", variant::of_floating(0x1p63F), true, 0, top_bit, 0x1p63F, "9223372036854775808.000000", 4},
        {"between 2^63 and 2^64", variant::of_floating(0x1.8p63F), true, 0, top_bit + (top_bit >> 1), 0x1.8p63F,
         "13835058055282163712.000000", 4},
        {"2^64", variant::of_floating(0x1p64F), true, 0, 0, 0x1p64F, "18446744073709551616.000000", 4},
        {"below 64 bits", variant::of_floating(-0x1p64F), true, 0, top_bit, -0x1p64F, "-18446744073709551616.000000",
         4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(c.value.as_boolean(), c.boolean);
        EXPECT_EQ(c.value.as_integer(), c.integer);
        EXPECT_EQ(c.value.as_large(), c.large);
        EXPECT_EQ(c.value.as_floating(), c.floating);
        EXPECT_EQ(c.value.as_string(), c.text);
        EXPECT_EQ(c.value.as_wide(), wstring(c.text.begin(), c.text.end()));
        EXPECT_EQ(c.value.size(), c.size);
    }
}

TEST(variant, reads_texts_as_numbers) {
    const auto infinity = std::numeric_limits<float>::infinity();
    const struct {
        string text;
        std::uint32_t integer;
        std::uint64_t large;
        float floating;
    } cases[] = {{"", 0, 0, 0},
                 {"1", 1, 1, 1},
                 {"012,5", 12, 12, 12},
                 {" \t\r\n\v\f+7", 7, 7, 7},
                 {"-3", 0xFFFFFFFD, 0xFFFFFFFFFFFFFFFD, -3},
                 {"--3", 0, 0, 0},
                 {"-+3", 0, 0, 0},
                 {string("1\0002", 3), 1, 1, 1},
                 {"2147483648", 0x7FFFFFFF, 0x80000000, 2147483648.0F},
                 {"-2147483649", 0x80000000, 0xFFFFFFFF7FFFFFFF, -2147483649.0F},
                 {"9223372036854775808", 0x7FFFFFFF, top_bit - 1, 0x1p63F},
                 {"-9223372036854775808", 0x80000000, top_bit, -0x1p63F},
                 {"-99999999999999999999", 0x80000000, top_bit, -1e20F},
                 {"-1.5e1x", 0xFFFFFFFF, UINT64_MAX, -15},
                 {".5", 0, 0, 0.5F},
                 {"-1e9999", 0xFFFFFFFF, UINT64_MAX, -infinity},
                 {"0.0001e9999", 0, 0, infinity},
                 {"100e-9999", 100, 100, 0},
                 {"0." + string(500, '0') + "1", 0, 0, 0},
                 {string(400, '9'), 0x7FFFFFFF, top_bit - 1, infinity}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        for (const variant& value : {variant(c.text), variant(wstring(c.text.begin(), c.text.end()))}) {
            EXPECT_EQ(value.as_boolean(), c.text == "1");
            EXPECT_EQ(value.as_integer(), c.integer);
            EXPECT_EQ(value.as_large(), c.large);
            EXPECT_EQ(value.as_floating(), c.floating);
            EXPECT_EQ(value.as_string(), c.text);
        }
    }
}

TEST(variant, holds_texts) {
    EXPECT_EQ(variant(static_cast<const char*>(nullptr)).kind(), variant::kind_type::text);
    EXPECT_EQ(variant(static_cast<const char16_t*>(nullptr)).size(), 0U);
    EXPECT_EQ(variant(u"abc").size(), 6U);
    EXPECT_EQ(variant(u"\u4f60").as_wide(), u"\u4f60");
    EXPECT_THROW((void)variant(u"\u4f60").as_string(), unicode::unmappable_character);
    EXPECT_EQ(variant(u"5\uff15").as_floating(), 5);
}

TEST(variant, compares_values_of_one_kind) {
    EXPECT_TRUE(variant() < variant());
    EXPECT_TRUE(variant::of_large(1) < variant::of_large(UINT64_MAX));
    EXPECT_FALSE(variant::of_floating(0) < variant::of_floating(std::nanf("")));
    EXPECT_TRUE(variant("z") < variant("\x80"));
    EXPECT_FALSE(variant(u"b") < variant(u"ab"));
    EXPECT_THROW((void)(variant("1") < variant(u"1")), variant::type_mismatch);
}

} // namespace
} // namespace tackle
