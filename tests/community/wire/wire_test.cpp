#include "community/client/request.h"
#include "community/errors.h"
#include "community/wire/reply_body.h"
#include "community/wire/request_body.h"
#include "community/wire/sealing.h"
#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "network/address_errors.h"

#include <gtest/gtest.h>

#include <charconv>
#include <functional>
#include <numeric>
#include <optional>

// The bytes on the wire. Whatever a server sends is also the matter of the fuzz target `packet`.
namespace brimwarden::analysis::community {
namespace {

// "52 56 4E" as bytes, in a buffer of just their size, so that the sanitizer sees a read beyond the end.
string unhex(string_view digits) {
    string out;
    for (std::size_t i = 0; i + 1 < digits.size(); i += digits[i] == ' ' ? 1 : 2) {
        if (digits[i] == ' ') continue;
        int value = 0;
        std::from_chars(digits.data() + i, digits.data() + i + 2, value, 16);
        out.push_back(static_cast<char>(value));
    }
    out.shrink_to_fit();
    return out;
}

packet with_body(string body) {
    packet made;
    made.body = std::move(body);
    return made;
}

TEST(packet, writes_and_reads_numbers) {
    enum : std::uint8_t { both, read, cut };
    const struct {
        const char* label;
        const char* bytes;
        std::uint64_t value;
        int how = both;
    } cases[] = {
        {"zero", "00", 0},
        {"largest in one group", "7F", 127},
        {"smallest in two groups", "81 00", 128},
        {"largest in two groups", "FF 7F", 16383},
        {"smallest in three groups", "81 80 00", 16384},
        {"all 64 bits", "81 FF FF FF FF FF FF FF FF 7F", UINT64_MAX},
        {"leading zero groups", "80 80 80 80 80 80 80 80 80 80 80 80 05", 5, read},
        {"one group too many", "82 80 80 80 80 80 80 80 80 05", 5, read},
        {"ends inside", "82 83", 2 << 7 | 3, cut},
        {"nothing", "", 0, cut},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        auto out = with_body("before");
        out.write_number(c.value);
        EXPECT_TRUE(c.how != both || out.body == "before" + unhex(c.bytes));
        auto in = with_body(unhex(c.bytes));
        std::uint64_t value = 77;
        EXPECT_EQ(in.read_number(value), c.how != cut);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(in.read_position, in.body.size());
    }
}

TEST(packet, reads_texts_that_are_there_as_a_whole) {
    const struct {
        const char* label;
        const char* bytes;
        std::optional<string> text;
    } cases[] = {
        {"with a zero byte", "03 61 00 62", string("a\0b", 3)},
        {"empty", "00", ""},
        {"more follows", "01 61 62 63", "a"},
        {"one byte short", "03 61 62", std::nullopt},
        {"length that wraps to the end", "81 FF FF FF FF FF FF FF FF 7F 61", std::nullopt},
        {"length that wraps to the start", "81 FF FF FF FF FF FF FF FF 75", std::nullopt},
        {"length cut off", "83", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        auto in = with_body(unhex(c.bytes));
        string text = "before";
        EXPECT_EQ(in.read_text(text), c.text.has_value());
        EXPECT_EQ(text, c.text.value_or("before"));
    }
}

TEST(packet, has_a_header_of_sixteen_bytes) {
    auto in = with_body("old");
    in.read_position = 3;
    const string whole = unhex("52 56 4E 09 D5 07 00 01 02 03 04 05 06 07 08 FF");
    ASSERT_TRUE(in.parse(whole));
    EXPECT_EQ(in.version, 9);
    EXPECT_TRUE(in.reply_mark && in.encrypted);
    EXPECT_EQ(in.indicator, 2U);
    EXPECT_EQ(in.operation, 5U);
    EXPECT_EQ(in.attempt, 7);
    EXPECT_EQ(in.nonce[9], '\xFF');
    EXPECT_EQ(in.body, "");
    EXPECT_EQ(in.read_position, 0U);
    ASSERT_TRUE(in.parse(unhex("52 56 4E 03 28 00 00 01 02 03 04 05 06 07 08 09 41 42")));
    EXPECT_FALSE(in.reply_mark || in.encrypted);
    EXPECT_EQ(in.indicator, 5U);
    EXPECT_EQ(in.body, "AB");
    for (std::size_t at = 0; at < whole.size(); ++at) {
        EXPECT_FALSE(in.parse(string(whole, 0, at))) << "cut at " << at;
        string wrong = whole;
        wrong[at] ^= 0x20;
        EXPECT_EQ(in.parse(wrong), at >= 3) << "another byte at " << at;
    }
    packet out = with_body("b");
    out.version = 3;
    out.attempt = 255;
    out.operation = 0xFFFFFFFA; // only the low bits of it and of the indicator are sent
    out.indicator = 9;
    EXPECT_EQ(out.render(), unhex("52 56 4E 03 0A FF 00 00 00 00 00 00 00 00 00 00 62"));
}

signature_list three() {
    signature_list list;
    list.emplace_back(u"hsi", u"192.0.2.1");
    list.emplace_back(u"tru", u"com.example/a");
    list.emplace_back(u"tru", u"net.example");
    return list;
}

TEST(read_query, fills_the_records_in_their_order) {
    // Unmatched, then length, id, age, flags, reports, revokes, touches of two.
    const string good = unhex("00  0B 82 2C 09 0D 07 81 00 05  0B 00 01 02 03 04 05");
    auto list = three();
    list[0].matched = true; // of an earlier answer
    auto reply = with_body(good);
    read_query(reply, list);
    EXPECT_FALSE(list[0].matched);
    EXPECT_EQ(list[0].value, u"192.0.2.1");
    EXPECT_TRUE(list[1].matched);
    EXPECT_EQ(list[1].value, u"com.example"); // cut to the match
    EXPECT_EQ(list[1].id, 300U);
    EXPECT_EQ(list[1].age, 9U);
    EXPECT_TRUE(list[1].ignored && !list[1].whitelisted && list[1].blacklisted); // 8 is not a flag
    EXPECT_EQ(list[1].reports, 7U);
    EXPECT_EQ(list[1].revokes, 128U);
    EXPECT_EQ(list[1].touches, 5U);
    EXPECT_EQ(list[2].value, u"net.example"); // the match is as long as the value
    EXPECT_TRUE(!list[2].ignored && list[2].whitelisted && !list[2].blacklisted);
    for (std::size_t length = 0; length < good.size(); ++length) {
        SCOPED_TRACE(length);
        auto cut = three();
        reply = with_body(good.substr(0, length));
        EXPECT_THROW(read_query(reply, cut), protocol_error);
        EXPECT_EQ(cut[1].matched, length >= 2);                                  // what came before the cut counts,
        EXPECT_EQ(cut[1].id, length >= 4 ? 300U : length == 3 ? 300U >> 7 : 0U); // of a number its first groups
        EXPECT_EQ(cut[2].value, u"net.example");
    }
}

TEST(read_query, refuses_what_makes_no_sense) {
    const struct {
        const char* label;
        const char* body;
        const char* text;
    } cases[] = {
        {"match of one unit more than the value", "00 00 0C 01 01 00 00 00 00", "match length mismatch"},
        {"match length near 2^64", "81 FF FF FF FF FF FF FF FF 7F", "match length mismatch"},
        {"the same identity twice", "00 0B 05 00 00 00 00 00  0B 05 00 00 00 00 00", "duplicate identity"},
        {"identity 0 twice", "01 00 00 00 00 00 00  01 00 00 00 00 00 00  00", "duplicate identity"},
        {"a byte after the last entry", "00 00 00 00", "excess response length"},
        {"nothing", "", "truncated response"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        auto list = three();
        auto reply = with_body(unhex(c.body));
        try {
            read_query(reply, list);
            ADD_FAILURE() << "taken";
        } catch (const protocol_error& e) {
            EXPECT_STREQ(e.message(), c.text);
        }
    }
}

TEST(read_status, takes_texts_and_counters) {
    const string whole = unhex("03 61 C3 BC  02 78 79  00  01 82 2C 03 04");
    for (std::size_t length = 0; length <= whole.size() + 1; ++length) {
        SCOPED_TRACE(length);
        server_status server;
        auto reply = with_body((whole + "more").substr(0, length));
        EXPECT_EQ(read_status(reply, server), length >= whole.size());
        EXPECT_EQ(server.name, length >= 4 ? u"a\u00FC" : u"");
        EXPECT_EQ(server.location, length >= 7 ? u"xy" : u"");
        EXPECT_EQ(server.counters[1], length >= 11 ? 300U : length == 10 ? 300U >> 7 : 0U);
        EXPECT_EQ(server.counters[3], length >= 13 ? 4U : 0U);
    }
}

signature_list all_types() {
    signature_list list;
    list.emplace_back(u"hsi", u"192.0.2.1");
    list.emplace_back(u"tru", u"com.example/\u00FC");
    list.emplace_back(u"tlc", u"1234");
    for (const char16_t* digest : {u"tbd", u"tsd", u"prd", u"pid"})
        list.emplace_back(digest, u"1B2M2Y8AsgTpgAmY7PhCfg"); // MD5 of nothing
    return list;
}

void fix_nonce(request& made) { std::iota(made.outgoing.nonce.begin(), made.outgoing.nonce.end(), '\xA0'); }

const community_credentials member{1, 300, u"s\u00E9cret"};
constexpr string_view message = "Subject: x\r\n\r\nbody\r\n";

// The packets were worked out with hashlib of Python for MD5 and `openssl enc -rc4` for the cipher, over 4096 zero
// bytes and the payload.
TEST(wire, sealed_packets_have_these_bytes) {
    const struct {
        const char* label;
        operation_code operation;
        community_credentials credentials;
        std::function<void(packet&)> write;
        const char* bytes;
    } cases[] = {
        {"query", operation_code::query, member, [](packet& out) { write_query(out, all_types()); },
         "52564e034200a0a1a2a3a4a5a6a7a8a901822c596483eec4dda54c7066b06f47d11d8dfa4277a01668417e75bbef34d801d42edb457f"
         "acd153c5a1901736d298fa564905fd9e00a9ffbe3e9e67b8c1431a95bbe07db32b6e9a2bd2c74cb0206baa7698b06032f5c7eeeefc7f"
         "7ac0f5eaf791ba0808869062fbe3c09ddeacdeceb4cf"},
        {"update", operation_code::update, member,
         [](packet& out) {
             signature_list list = all_types();
             list[1].matched = list[6].matched = true;
             list[1].id = 300;
             list[4].id = 12;
             write_update(out, 37.99F, list);
         },
         "52564e034300a0a1a2a3a4a5a6a7a8a901822cee14238a80dec88c81c102f4d11c1d1bd840358c14"},
        {"report",
         operation_code::report,
         {0, 0, u"s\u00E9cret"},
         [](packet& out) { write_message(out, true, message); },
         "52564e034400a0a1a2a3a4a5a6a7a8a90000cf70a647f1f98d9f256feedff21d21d2fc56e4d57603641362eea262b073b849c9467efa"
         "1fe5"},
        {"revoke without a secret",
         operation_code::revoke,
         {0, 0xFFFFFFFF, u""},
         [](packet& out) { write_message(out, false, message); },
         "52564e034500a0a1a2a3a4a5a6a7a8a9008fffffff7f33c8f3346a117d03e7fbdc6a3f841857a15eb78e848a16ca4e4bf897031da170"
         "a9a4b193d269"},
    };
    community_statistics counted;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        request made(c.operation, counted);
        fix_nonce(made);
        c.write(made.outgoing);
        made.key = seal(made.outgoing, c.credentials);
        EXPECT_EQ(made.outgoing.render(), unhex(c.bytes));
    }
    const request first(operation_code::status, counted); // a bare header
    const request second(operation_code::status, counted);
    EXPECT_EQ(first.outgoing.render().substr(0, 6), unhex("52 56 4E 03 00 00"));
    EXPECT_EQ(first.outgoing.render().size(), 16U);
    EXPECT_NE(first.outgoing.nonce, second.outgoing.nonce);
}

template <typename expected>
void expect_refused(const char16_t* type, const char16_t* value) {
    packet out;
    signature_list list;
    list.emplace_back(type, value);
    EXPECT_THROW(write_query(out, list), expected);
}

TEST(wire, a_query_refuses_values_that_their_type_cannot_have) {
    expect_refused<generic>(u"xyz", u"a");
    expect_refused<tackle::internet::address::generic>(u"hsi", u"localhost"); // no name service for what mail says
    expect_refused<tackle::internet::address::generic>(u"hsi", u"999.1.1.1");
    expect_refused<tackle::coding::translate::invalid_codeword>(u"tlc", u"12#4");
    expect_refused<tackle::coding::translate::invalid_codeword>(u"prd", u"\u00E4");
    expect_refused<tackle::unicode::unmappable_character>(u"tbd", u"\u0100");
}

TEST(wire, opens_an_enciphered_answer_with_the_key_of_the_request) {
    community_statistics counted;
    request made(operation_code::query, counted);
    fix_nonce(made);
    made.key = seal(made.outgoing, member);
    ASSERT_TRUE(made.response.parse(unhex("52564e03c200a0a1a2a3a4a5a6a7a8a9 fd49bea8136f0474")));
    open_response(made.response, made.key);
    EXPECT_EQ(made.response.body, unhex("00 0B 09 08 07 06 05 04"));
    made.response.encrypted = false;
    made.response.body = "plain";
    open_response(made.response, made.key);
    EXPECT_EQ(made.response.body, "plain");
    request status(operation_code::status, counted);
    status.response.encrypted = true;
    EXPECT_THROW(open_response(status.response, status.key), protocol_error);
}

} // namespace
} // namespace brimwarden::analysis::community
