#include "community/wire/reply_body.h"

#include "community/errors.h"
#include "tests/community/bytes.h"

#include <gtest/gtest.h>

#include <random>

namespace brimwarden::analysis::community {
namespace {

signature_list three() {
    signature_list list;
    list.emplace_back(u"hsi", u"192.0.2.1");
    list.emplace_back(u"tru", u"com.example/a");
    list.emplace_back(u"tru", u"net.example");
    return list;
}

packet reply_of(string_view hexadecimal) {
    packet reply;
    reply.body = unhex(hexadecimal);
    return reply;
}

//                       unmatched, then length, id, age, flags, reports, revokes, touches of two
constexpr char good[] = "00  0B 82 2C 09 0D 07 81 00 05  0B 00 01 02 03 04 05";

TEST(read_query, fills_the_records_in_their_order) {
    auto list = three();
    list[0].matched = true; // of an earlier answer
    auto reply = reply_of(good);
    read_query(reply, list);
    EXPECT_FALSE(list[0].matched);
    EXPECT_EQ(list[0].value, u"192.0.2.1");
    EXPECT_TRUE(list[1].matched);
    EXPECT_EQ(list[1].value, u"com.example"); // cut to the match
    EXPECT_EQ(list[1].id, 300U);
    EXPECT_EQ(list[1].age, 9U);
    EXPECT_TRUE(list[1].ignored && !list[1].whitelisted && list[1].blacklisted); // 8 is no flag
    EXPECT_EQ(list[1].reports, 7U);
    EXPECT_EQ(list[1].revokes, 128U);
    EXPECT_EQ(list[1].touches, 5U);
    EXPECT_EQ(list[2].value, u"net.example"); // a match of just the length
    EXPECT_TRUE(!list[2].ignored && list[2].whitelisted && !list[2].blacklisted);
    EXPECT_EQ(list[2].id, 0U);
}

struct bad_case {
    const char* label;
    const char* body;
    const char* text;
};

const bad_case bad_cases[] = {
    {"match of one too many", "00 00 0C 01 01 00 00 00 00", "match length mismatch"},
    {"match length near 2^64", "81 FF FF FF FF FF FF FF FF 7F", "match length mismatch"},
    {"the same identity twice", "00 0B 05 00 00 00 00 00  0B 05 00 00 00 00 00", "duplicate identity"},
    {"identity 0 twice", "01 00 00 00 00 00 00  01 00 00 00 00 00 00  00", "duplicate identity"},
    {"a byte behind the last entry", "00 00 00 00", "excess response length"},
    {"nothing", "", "truncated response"},
};

TEST(read_query, refuses_what_makes_no_sense) {
    for (const auto& c : bad_cases) {
        SCOPED_TRACE(c.label);
        auto list = three();
        auto reply = reply_of(c.body);
        try {
            read_query(reply, list);
            ADD_FAILURE() << "taken";
        } catch (const protocol_error& e) {
            EXPECT_STREQ(e.message(), c.text);
        }
    }
}

TEST(read_query, needs_an_empty_body_for_an_empty_list) {
    signature_list none;
    packet reply;
    EXPECT_NO_THROW(read_query(reply, none));
    reply.body = string(1, '\0');
    EXPECT_THROW(read_query(reply, none), protocol_error);
}

TEST(read_query, cut_anywhere_keeps_what_came_before) {
    const string whole = unhex(good);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        auto list = three();
        packet reply;
        reply.body = whole.substr(0, length);
        reply.body.shrink_to_fit();
        EXPECT_THROW(read_query(reply, list), protocol_error);
        EXPECT_EQ(list[1].matched, length >= 2);
        EXPECT_EQ(list[1].id, length >= 4 ? 300U : length == 3 ? 300U >> 7 : 0U); // of a cut number, its first groups
        EXPECT_EQ(list[1].revokes, length >= 9 ? 128U : length == 8 ? 128U >> 7 : 0U);
        EXPECT_EQ(list[2].matched, length >= 11);
        EXPECT_EQ(list[2].value, u"net.example");
    }
}

// Any byte may be anything: an answer or a protocol error, and nothing else.
TEST(read_query, survives_every_byte_changed) {
    std::minstd_rand random(1); // the same bytes in each run
    const string whole = unhex(good);
    for (std::size_t at = 0; at < whole.size(); ++at)
        for (int round = 0; round < 18; ++round) {
            auto list = three();
            packet reply;
            reply.body = whole;
            reply.body[at] = round == 0 ? '\0' : round == 1 ? '\xFF' : static_cast<char>(random());
            try {
                read_query(reply, list);
                EXPECT_EQ(reply.read_position, reply.body.size());
            } catch (const protocol_error&) {
            }
            for (const auto& record : list)
                EXPECT_LE(record.value.size(), 13U);
        }
}

constexpr char status[] = "03 61 C3 BC  02 78 79  00  01 82 2C 03 04";

TEST(read_status, takes_texts_and_counters) {
    server_status server;
    auto reply = reply_of(string(status) + " 99 99");
    ASSERT_TRUE(read_status(reply, server));
    EXPECT_EQ(server.name, u"a\u00FC");
    EXPECT_EQ(server.location, u"xy");
    EXPECT_EQ(server.info, u"");
    EXPECT_EQ(server.counters, (std::array<std::uint64_t, 4>{1, 300, 3, 4}));
}

TEST(read_status, cut_anywhere_fails_and_keeps_what_came_before) {
    const string whole = unhex(status);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        server_status server;
        packet reply;
        reply.body = whole.substr(0, length);
        EXPECT_FALSE(read_status(reply, server));
        EXPECT_EQ(server.name.empty(), length < 4);
        EXPECT_EQ(server.counters[1], length >= 11 ? 300U : length == 10 ? 300U >> 7 : 0U);
    }
}

TEST(expect_end, takes_no_byte) {
    packet reply;
    EXPECT_NO_THROW(expect_end(reply));
    reply.body = "x";
    EXPECT_THROW(expect_end(reply), protocol_error);
}

} // namespace
} // namespace brimwarden::analysis::community
