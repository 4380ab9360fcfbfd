#include "network/ip4.h"

#include "network/address_errors.h"
#include "network/environment.h"

#include <gtest/gtest.h>

namespace tackle::internet::address {
namespace {

string bytes_of(const ip4& value) { return string(static_cast<const char*>(value.data()), value.size()); }

TEST(ip4, keeps_the_layout_of_socket_calls) {
    const ip4 value(0x7F000001, 2409);
    EXPECT_EQ(bytes_of(value), string("\x02\x00\x09\x69\x7F\x00\x00\x01\0\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(ip4().address(), 0xFFFFFFFFU);
}

TEST(ip4, refuses_another_length_and_stays_what_it_was) {
    ip4 value(0x7F000001, 2409);
    const char raw[28] = {10};
    EXPECT_THROW(value.assign(raw, sizeof raw), invalid_address_format);
    EXPECT_TRUE(value == ip4(0x7F000001, 2409));
    value.assign(ip4(0x0A000001, 1).data(), 16);
    EXPECT_TRUE(value == ip4(0x0A000001, 1));
}

// Written from small to large: family, port in network order, address in network order.
TEST(ip4, is_ordered_by_its_bytes) {
    const ip4 sorted[] = {{0xFFFFFFFF, 0x0001}, {0x01000000, 0x0100}, {0x7FFFFFFF, 0x0100},
                          {0x80000000, 0x0100}, {0x00000000, 0x01FF}, {0x00000000, 0x8000}};
    for (const auto& left : sorted)
        for (const auto& right : sorted) {
            EXPECT_EQ(left < right, &left < &right);
            EXPECT_EQ(static_cast<const base&>(left) != right, &left != &right);
        }
}

TEST(ip4, asks_the_resolver) {
    const environment layer;
    EXPECT_TRUE(ip4("127.0.0.9", 7) == ip4(0x7F000009, 7));
    EXPECT_THROW((void)ip4::from_numeric("localhost", 0), host_not_found); // without asking
    EXPECT_TRUE(ip4("127.0.0.9", "2409") == ip4(0x7F000009, 2409));
    EXPECT_EQ(ip4(0x7F000203, 80).to_string(numeric_host), "127.0.2.3");
    EXPECT_THROW(ip4("::1", 7), generic); // found, but nothing of ours
    EXPECT_THROW(ip4("127.0.0.1", "no such service"), generic);
}

} // namespace
} // namespace tackle::internet::address
