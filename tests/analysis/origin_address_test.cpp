#include "analysis/origin_address.h"

#include "network/numeric_address.h"

#include <gtest/gtest.h>

namespace {

using namespace brimwarden::analysis;

// Empty for none.
std::string text_of(const std::optional<tackle::internet::address::ip4>& address) {
    return address ? tackle::internet::address::numeric_text(address->address()) : "";
}

struct public_case {
    std::uint32_t address;
    bool expected;
};
const public_case public_cases[] = {
    {0x00000000, false}, {0x00000001, true},  {0x09FFFFFF, true},  {0x0A000000, false}, {0x0AFFFFFF, false},
    {0x0B000000, true},  {0x7EFFFFFF, true},  {0x7F000000, false}, {0x7FFFFFFF, false}, {0x80000000, true},
    {0xA9FDFFFF, true},  {0xA9FE0000, false}, {0xA9FEFFFF, false}, {0xA9FF0000, true},  {0xAC0FFFFF, true},
    {0xAC100000, false}, {0xAC1FFFFF, false}, {0xAC200000, true},  {0xC0A7FFFF, true},  {0xC0A80000, false},
    {0xC0A8FFFF, false}, {0xC0A90000, true},  {0xDFFFFFFF, true},  {0xE0000000, false}, {0xEFFFFFFF, false},
    {0xF0000000, true},  {0xFFFFFFFE, true},  {0xFFFFFFFF, false},
};

TEST(public_address, leaves_out_the_reserved_ranges_to_their_ends) {
    for (const auto& c : public_cases)
        EXPECT_EQ(public_address(c.address), c.expected) << std::hex << c.address;
}

struct received_case {
    const char* label;
    const char* value;
    const char* expected;
};
const received_case received_cases[] = {
    {"in brackets", "from mail.example ([192.0.2.7]) by mx.example", "192.0.2.7"},
    {"the last one before the stop word", "from 192.0.2.1 (192.0.2.2 [192.0.2.3]) by x", "192.0.2.3"},
    {"after the stop word", "from mail.example by 192.0.2.7", ""},
    {"each stop word", "a via 192.0.2.7", ""},
    {"stop word in capitals", "from a WITH 192.0.2.7", ""},
    {"a stop word inside a word does not count", "from bypass id5 192.0.2.7", "192.0.2.7"},
    {"empty", "", ""},
    {"shape fits, value does not", "from [999.1.1.1] by b", ""},
    {"a bad one replaces a good one", "from 192.0.2.7 [999.1.1.1] by b", ""},
    {"leading zeros are octal", "from [0300.0.2.010] by b", "192.0.2.8"},
    {"six characters", "from 1.2.3. by b", ""},
    {"sixteen characters", "from 0203.000.113.100 by b", ""},
    {"four full stops", "from 1.2.3.4. by b", ""},
    {"private", "from [10.1.2.3] by b", ""},
    {"all ones", "from [255.255.255.255] by b", ""},
    {"a tab is no separator", "from\t192.0.2.7\tby b", ""},
};

TEST(received_address, finds_the_sender) {
    for (const auto& c : received_cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(text_of(received_address(c.value)), c.expected);
    }
}

struct message_id_case {
    const char* label;
    const char16_t* value;
    const char* expected;
};
const message_id_case message_id_cases[] = {
    {"lowest byte first", u"<000a01c2$5f3b$070200c0@host>", "192.0.2.7"},
    {"upper case, prefix", u"<a$b$0X0200C0@host>", "192.0.2.0"},
    {"eight characters with the prefix", u"<a$b$0x070200c0@host>", "0.2.7.0"},
    {"more than eight digits", u"<a$b$070200c0ff@host>", "192.0.2.7"},
    {"ends at a letter", u"<a$b$c0z@host>", "192.0.0.0"},
    {"negative", u"<a$b$-1000001@host>", "255.255.255.254"},
    {"nothing to read", u"<a$b$zz@host>", ""},
    {"zero", u"<a$b$0@host>", ""},
    {"three dollars", u"<a$b$070200c0$@host>", ""},
    {"two at signs", u"<a$b$070200c0@host@x>", ""},
    {"an empty piece", u"<$b$070200c0@host>", ""},
};

TEST(message_id_address, reads_the_third_piece) {
    for (const auto& c : message_id_cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(text_of(message_id_address(c.value)), c.expected);
    }
}

} // namespace
