#include "foundation/coding/md5.h"
#include "tests/network/tls_peers.h"

#include <gtest/gtest.h>

// Our server against openssl s_client, and what it shows of itself.
namespace tackle::internet::transport::tcp {
namespace {

class tls_server : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!has_server_role()) GTEST_SKIP() << "no server role here";
    }
    // The command behind the pipes of `before` and `after`.
    string client(const string& options, const char* before = "", const char* after = "") const {
        return format("cd %s; %s openssl s_client -connect 127.0.0.1:%i %s %s %s", certificates(), before,
                      local_address(door.socket).port(), GetParam(), options, after);
    }
    void serve() {
        server.accept(door.socket);
        server.accept_server(ssl::credentials("mail.example", certificates() + "/mail.pem"));
    }

    environment layer;
    listener door;
    ssl server;
};

TEST_P(tls_server, is_verified_by_its_client_and_talks) {
    program peer(client("-quiet -CAfile root.pem -verify_return_error -verify_hostname mail.example 2>/dev/null"));
    serve();
    peer.write("ping\n");
    EXPECT_EQ(line_from(server), "ping\n");
    server.write("pong\n");
    EXPECT_EQ(peer.read_until("\n"), "pong\n");
}

TEST_P(tls_server, tells_why_a_client_went_away) {
    program peer(client("-CAfile stranger.pem -verify_hostname mail.example -verify_return_error 2>&1"));
    try {
        serve();
        FAIL() << "the client had no reason to trust";
    } catch (const ssl::context& e) {
        EXPECT_STREQ(e.what(), "internet.transport.security.context[AcceptSecurityContext returned status 0x80090326]");
    }
}

TEST_P(tls_server, ends_when_the_client_asks_to_renegotiate) {
    if (string(GetParam()) != "-tls1_2") return;
    program peer(client("2>&1"));
    serve();
    peer.read_until("Extended master secret"); // the last of its report: now it listens
    peer.write("R\n");
    string out;
    try {
        server.read_some(out);
        FAIL() << out;
    } catch (const ssl::security& e) {
        EXPECT_STREQ(e.message(), "DecryptMessage returned status 0x00090321");
    }
}

TEST_P(tls_server, carries_much_in_both_directions) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    const std::size_t size = 10'000'000;
#else
    const std::size_t size = 100'000'000;
#endif
    // Noise that any openssl makes the same; its digest comes first.
    const string noise = format("openssl enc -aes-128-ctr -K 42 -iv 42 -in /dev/zero 2>/dev/null | head -c %i", size);
    program peer(client("-quiet 2>/dev/null", format("%s | md5sum; %s |", noise, noise).c_str(),
                        format("| head -c %i | md5sum", size).c_str()));
    const string sent = peer.read_until(" ").substr(0, 32);
    serve();
    string all;
    coding::md5 digest;
    while (all.size() < size)
        server.read_up_to(all, size - all.size());
    digest.update(all);
    string hexadecimal;
    for (const char c : digest.finish())
        hexadecimal += format("%.2x", static_cast<std::uint32_t>(static_cast<unsigned char>(c)));
    EXPECT_EQ(hexadecimal, sent);
    server.write(all);
    server.close_socket();
    peer.read_until("\n");
    EXPECT_EQ(peer.read_until(" ").substr(0, 32), sent);
}

INSTANTIATE_TEST_SUITE_P(versions, tls_server, testing::Values("-tls1_2", "-tls1_3"),
                         [](const auto& made) { return string(made.index == 0 ? "tls_1_2" : "tls_1_3"); });

struct stranger_case {
    const char* label;
    string first_words;
    std::size_t alert_size;
    bool alert_leaves = true;
};
const string old_hello = string("\x16\x03\x01\x00\x2F\x01\x00\x00\x2B\x03\x02", 11) + string(32, 'r') +
                         string("\x00\x00\x04\xC0\x14\x00\x35\x01\x00", 9);
const stranger_case stranger_cases[] = {
    {"plain text", "GET / HTTP/1.0\r\n\r\n", 0},
    {"a client of TLS 1.1", old_hello, 7},
    {"a client of TLS 1.1 that cannot be told", old_hello, 0, false},
};

TEST(tls_server_door, refuses_who_does_not_speak_its_language) {
    if (!has_server_role()) GTEST_SKIP() << "no server role here";
    const ssl::credentials shown("mail.example", certificates() + "/mail.pem");
    for (const auto& c : stranger_cases) {
        SCOPED_TRACE(c.label);
        connection pair;
        ssl server;
        server.adopt(pair.server);
        pair.client.write(c.first_words);
        if (!c.alert_leaves) server.shutdown_send(); // sending fails, and the reason has to come out all the same
        EXPECT_THROW(server.accept_server(shown), ssl::context);
        server.close_socket();
        string alert;
        EXPECT_THROW(for (;;) pair.client.read_some(alert), base::connection_failed);
        EXPECT_EQ(alert.substr(0, 1), c.alert_size != 0 ? "\x15" : "");
        EXPECT_EQ(alert.size(), c.alert_size);
    }
}

struct store_case {
    const char* label;
    const char* subject;
    const char* store; // below the certificates
    const char* expected;
};
const char* const no_such = "internet.transport.security.certificate_not_found[CertFindCertificateInStore returned "
                            "status 0x80092004]";
const store_case store_cases[] = {
    {"file", "mail.example", "/mail.pem", ""},
    {"any part of the subject, letters in either case", "de, brimWARDEN, MAIL", "/mail.pem", ""},
    {"key beside the certificate, junk around it", "mail.example", "/split", ""},
    {"the second of the names in order", "mail.example", "",
     "internet.transport.security[AcquireCredentialsHandle returned status 0x8009030e]"},
    {"a subject that its issuer has, too, and the issuer first", "brimwarden", "/upside.pem", ""},
    {"subject of an issuer", "root", "/upside.pem", no_such},
    {"other subject", "mail.example.net", "/mail.pem", no_such},
    {"names of types are no part of it", "CN=mail.example", "/mail.pem", no_such},
    {"no certificate inside", "mail.example", "/split/junk.pem", no_such},
    {"no key", "mail.example", "/bare.pem",
     "internet.transport.security[AcquireCredentialsHandle returned status 0x8009030e]"},
    {"no such file", "mail.example", "/nowhere",
     "internet.transport.security.store_failed[CertOpenSystemStore returned status 0x00000002]"},
};

TEST(tls_credentials, finds_a_certificate_by_its_subject) {
#ifdef _WIN32
    GTEST_SKIP() << "files are the other target's stores";
#endif
    for (const auto& c : store_cases) {
        SCOPED_TRACE(c.label);
        string thrown;
        try {
            const ssl::credentials made(c.subject, certificates() + c.store);
        } catch (const exception& e) {
            thrown = e.what();
        }
        EXPECT_EQ(thrown, c.expected);
    }
}

TEST(tls_credentials, misses_a_certificate_that_nobody_has) {
    EXPECT_THROW(ssl::credentials("no.such.certificate.example"), ssl::security);
}

} // namespace
} // namespace tackle::internet::transport::tcp
