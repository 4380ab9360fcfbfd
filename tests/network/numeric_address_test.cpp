#include "network/numeric_address.h"

#include <gtest/gtest.h>

#include <memory>

namespace tackle::internet::address {
namespace {

struct numeric_case {
    const char* label;
    string_view text;
    std::optional<std::uint32_t> expected;
};

const numeric_case cases[] = {
    {"dotted", "192.0.2.1", 0xC0000201},
    {"all ones is an address here", "255.255.255.255", 0xFFFFFFFF},
    {"octal and hexadecimal", "0300.0x0.02.0X1", 0xC0000201},
    {"two numbers", "127.1", 0x7F000001},
    {"three numbers", "127.1.258", 0x7F010102},
    {"one number", "4294967295", 0xFFFFFFFF},
    {"last of three too large", "1.2.65536", std::nullopt},
    {"last of four too large", "1.2.3.256", std::nullopt},
    {"not an octal digit", "1.2.3.08", std::nullopt},
    {"hexadecimal without digits", "1.2.3.0x", std::nullopt},
    {"five numbers", "1.2.3.4.5", std::nullopt},
    {"dot at the end", "1.2.3.4.", std::nullopt},
    {"sign after the octal mark", "1.2.3.0-4", std::nullopt},
    {"blank at the end", "1.2.3.4 ", std::nullopt},
    {"nothing", "", std::nullopt},
    {"number with many zeros", "00000000000000000177.0.0.1", 0x7F000001},
};

TEST(numeric_address, parses_what_is_an_address_as_a_whole) {
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        // A copy without a terminator, so that a read behind the end is seen by the sanitizer.
        const std::unique_ptr<char[]> exact(new char[c.text.size()]);
        c.text.copy(exact.get(), c.text.size());
        EXPECT_EQ(parse_numeric({exact.get(), c.text.size()}), c.expected);
        if (c.expected) {
            EXPECT_EQ(parse_numeric(numeric_text(*c.expected)), c.expected);
        }
    }
}

} // namespace
} // namespace tackle::internet::address
