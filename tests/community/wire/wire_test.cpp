#include "community/client/request.h"
#include "community/errors.h"
#include "community/wire/reply_body.h"
#include "community/wire/request_body.h"
#include "community/wire/sealing.h"
#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "network/address_errors.h"
#include "tests/community/bytes.h"

#include <gtest/gtest.h>

#include <functional>
#include <numeric>

// The packets were worked out with hashlib of Python for MD5 and `openssl enc -rc4` for the cipher, over 4096 zero
// bytes and the payload.
namespace brimwarden::analysis::community {
namespace {

constexpr char16_t md5_of_nothing[] = u"1B2M2Y8AsgTpgAmY7PhCfg";

signature_list all_types() {
    signature_list list;
    list.emplace_back(u"hsi", u"192.0.2.1");
    list.emplace_back(u"tru", u"com.example/\u00FC");
    list.emplace_back(u"tlc", u"1234");
    for (const char16_t* digest : {u"tbd", u"tsd", u"prd", u"pid"})
        list.emplace_back(digest, md5_of_nothing);
    return list;
}

struct packet_case {
    const char* label;
    operation_code operation;
    community_credentials credentials;
    std::function<void(packet&)> write;
    const char* bytes;
};

const community_credentials member{1, 300, u"s\u00E9cret"};
constexpr string_view message = "Subject: x\r\n\r\nbody\r\n";

const packet_case packet_cases[] = {
    {"query", operation_code::query, member, [](packet& out) { write_query(out, all_types()); },
     "52564e034200a0a1a2a3a4a5a6a7a8a901822c596483eec4dda54c7066b06f47d11d8dfa4277a01668417e75bbef34d801d42edb457facd1"
     "53c5a1901736d298fa564905fd9e00a9ffbe3e9e67b8c1431a95bbe07db32b6e9a2bd2c74cb0206baa7698b06032f5c7eeeefc7f7ac0f5ea"
     "f791ba0808869062fbe3c09ddeacdeceb4cf"},
    {"update", operation_code::update, member,
     [](packet& out) {
         signature_list list = all_types();
         list[1].matched = true;
         list[1].id = 300;
         list[4].id = 12;
         list[6].matched = true;
         write_update(out, 37.99F, list);
     },
     "52564e034300a0a1a2a3a4a5a6a7a8a901822cee14238a80dec88c81c102f4d11c1d1bd840358c14"},
    {"report",
     operation_code::report,
     {0, 0, u"s\u00E9cret"},
     [](packet& out) { write_message(out, true, message); },
     "52564e034400a0a1a2a3a4a5a6a7a8a90000cf70a647f1f98d9f256feedff21d21d2fc56e4d57603641362eea262b073b849c9467efa1fe"
     "5"},
    {"revoke without a secret",
     operation_code::revoke,
     {0, 0xFFFFFFFF, u""},
     [](packet& out) { write_message(out, false, message); },
     "52564e034500a0a1a2a3a4a5a6a7a8a9008fffffff7f33c8f3346a117d03e7fbdc6a3f841857a15eb78e848a16ca4e4bf897031da170a9a4"
     "b193d269"},
};

void fix_nonce(request& made) { std::iota(made.outgoing.nonce.begin(), made.outgoing.nonce.end(), '\xA0'); }

TEST(wire, sealed_packets_have_these_bytes) {
    for (const auto& c : packet_cases) {
        SCOPED_TRACE(c.label);
        community_statistics counted;
        request made(c.operation, counted);
        fix_nonce(made);
        c.write(made.outgoing);
        made.key = seal(made.outgoing, c.credentials);
        EXPECT_EQ(made.outgoing.render(), unhex(c.bytes));
    }
}

TEST(wire, status_is_a_bare_header_with_a_nonce_of_its_own) {
    community_statistics counted;
    request first(operation_code::status, counted);
    request second(operation_code::status, counted);
    EXPECT_EQ(first.outgoing.render().substr(0, 6), unhex("52 56 4E 03 00 00"));
    EXPECT_EQ(first.outgoing.render().size(), 16U);
    EXPECT_NE(first.outgoing.nonce, second.outgoing.nonce);
}

TEST(wire, the_payload_of_a_query_has_each_type_in_its_form) {
    packet out;
    write_query(out, all_types());
    EXPECT_EQ(out.body,
              unhex("07 00c0000201 400e636f6d2e6578616d706c652fc3bc 4103d76df8 02d41d8cd98f00b204e9800998ecf842"
                    "7e 03d41d8cd98f00b204e9800998ecf8427e 04d41d8cd98f00b204e9800998ecf8427e 05d41d8cd98f00b204"
                    "e9800998ecf8427e"));
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
    expect_refused<generic>(u"", u"a");
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
    made.response.encrypted = false; // a plain answer to the same request stands as it is
    made.response.body = "plain";
    open_response(made.response, made.key);
    EXPECT_EQ(made.response.body, "plain");
    request status(operation_code::status, counted);
    status.response.encrypted = true;
    EXPECT_THROW(open_response(status.response, status.key), protocol_error);
}

} // namespace
} // namespace brimwarden::analysis::community
