#include "tests/network/tls_peers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <thread>

namespace tackle::internet::transport::tcp {
namespace {

// What the work throws, or an empty text.
template <typename function>
string thrown_by(const function& work) {
    try {
        work();
    } catch (const exception& e) {
        return e.what();
    }
    return {};
}

// Our client against openssl s_server, once for each version. Wine's Schannel has TLS 1.2, verifies nothing and has no
// server role.
class tls : public testing::TestWithParam<const char*> {
protected:
    static bool has_key_update() { return string(GetParam()) == "-tls1_3"; }
    static void join(ssl& one, const server_program& peer, const string& principal = "mail.example") {
        one.create(any_loopback_port);
        one.connect(peer.address);
        one.connect_client(ssl::credentials(), principal);
    }
    // Until the handshake is over for openssl, too: before, it takes its commands for data.
    void settle(server_program& peer) {
        client.write("settled\n");
        peer.run.read_until("settled");
    }

    environment layer;
    ssl client;
};

// One write is longer than a record, and each line comes back from its end to its beginning.
TEST_P(tls, client_carries_long_lines_in_both_directions) {
    server_program peer("mail", string(GetParam()) + " -rev");
    join(client, peer);
    string line(12'345, '\0');
    for (std::size_t i = 0; i < line.size(); ++i)
        line[i] = static_cast<char>('A' + (i * 31 >> 4) % 50);
    client.write(line + "\n" + line + "1\n" + line + "2\n");
    std::ranges::reverse(line);
    for (const char* expected : {"", "1", "2"})
        EXPECT_TRUE(line_from(client) == expected + line + "\n") << expected;
}

struct principal_case {
    const char* label;
    const char* certificate;
    string principal;
    const char* expected; // of the exception
};
const char* const wrong_principal = "internet.transport.security.wrong_principal[]";
const principal_case principal_cases[] = {
    {"the name, in other letters", "mail", "MAIL.example", ""},
    {"the address", "mail", "127.0.0.1", ""},
    {"another name", "mail", "mail.example.net", wrong_principal},
    {"another address", "mail", "127.0.0.2", wrong_principal},
    {"the subject's name beside alternative ones", "mail", "mail", wrong_principal},
    {"signed by a stranger", "stranger", "mail.example",
     "internet.transport.security.context[InitializeSecurityContext returned status 0x80090325]"},
    {"signed by a stranger, and no principal is asked for", "stranger", "", ""},
    {"another name, and no principal is asked for", "mail", "", ""},
};

TEST_P(tls, client_verifies_what_the_server_shows) {
    if (!has_server_role) GTEST_SKIP();
    for (const auto& c : principal_cases) {
        SCOPED_TRACE(c.label);
        server_program peer(c.certificate, GetParam());
        ssl one;
        EXPECT_EQ(thrown_by([&] { join(one, peer, c.principal); }), c.expected);
        one.close_socket();
        peer.run.read_all();
    }
}

TEST_P(tls, client_ends_at_a_renegotiation_and_goes_on_after_a_change_of_keys) {
    server_program peer("mail", GetParam());
    join(client, peer);
    settle(peer);
    string out;
    if (has_key_update()) {
        peer.run.write("K\n"); // asks for ours, too
        peer.run.read_until("SSL_do_handshake -> 1");
        peer.run.write("under the second key\n");
        EXPECT_EQ(line_from(client), "under the second key\n");
        client.write("and back\n");
        peer.run.read_until("and back");
    } else {
        peer.run.write("r\n");
        EXPECT_EQ(thrown_by([&] { client.read_some(out); }),
                  "internet.transport.security[DecryptMessage returned status 0x00090321]");
        EXPECT_THROW(client.read_some(out), ssl::security);
        EXPECT_THROW(client.write("x"), ssl::security);
    }
}

TEST_P(tls, client_tells_the_closing_alert_from_a_mere_end) {
    if (!has_server_role) GTEST_SKIP() << "Wine's Schannel ignores the alert";
    server_program peer("mail", string(GetParam()) + " -www");
    join(client, peer);
    client.write("GET / HTTP/1.0\r\n\r\n");
    string page;
    EXPECT_EQ(thrown_by([&] {
                  for (;;)
                      client.read_some(page);
              }),
              "internet.transport.security[DecryptMessage returned status 0x00090317]");
    client.set_receive_timeout(1); // the server waits for our end
    EXPECT_THROW(client.read_some(page), ssl::security);
    EXPECT_TRUE(page.starts_with("HTTP/1.0 200") && page.ends_with("</HTML>\r\n\r\n")) << page;
    const auto sent = client.sent_total();
    client.write("the alert has closed the other direction alone");
    EXPECT_GT(client.sent_total(), sent);
}

const char* const versions[] = {"-tls1_2", "-tls1_3"};
INSTANTIATE_TEST_SUITE_P(versions, tls, testing::ValuesIn(versions, versions + (has_server_role ? 2 : 1)),
                         [](const auto& made) { return string(made.index == 0 ? "tls_1_2" : "tls_1_3"); });

void pump(raw& from, raw& to, const std::function<void(string&)>& change) {
    (void)thrown_by([&] {
        for (string bytes;; bytes.clear()) {
            from.read_some(bytes);
            change(bytes);
            for (const char& byte : bytes)
                to.write({&byte, 1});
        }
    });
    (void)thrown_by([&] { to.shutdown_send(); });
}

// Our client and our server with a network between them that puts a plain line before the first bytes of the handshake,
// then carries single bytes, and at last damages one.
TEST(tls_pair, goes_over_to_the_cipher_and_delivers_nothing_of_a_damaged_record) {
    if (!has_server_role) GTEST_SKIP();
    const string store = certificates() + "/mail.pem"; // first, since it also makes what clients trust
    const environment layer;
    listener door;
    listener network;
    auto serving = std::async(std::launch::async, [&] {
        raw plain;
        plain.accept(door.socket);
        string line;
        plain.read_line(line);
        EXPECT_EQ(line, "STARTTLS");
        ssl server;
        server.adopt(plain);
        EXPECT_FALSE(plain.has_socket());
        server.adopt(server);
        server.accept_server(ssl::credentials("mail.example", store));
        EXPECT_EQ(line_from(server), "whole\n");
        server.write("understood\n");
        string got;
        EXPECT_EQ(thrown_by([&] { server.read_some(got); }),
                  "internet.transport.security[DecryptMessage returned status 0x8009030f]");
        EXPECT_EQ(got, "");
    });
    std::atomic<bool> damages = false;
    auto relaying = std::async(std::launch::async, [&] {
        raw near;
        raw far;
        near.accept(network.socket);
        far.create(any_loopback_port);
        far.connect(local_address(door.socket));
        string hello;
        near.read_some(hello);
        far.write("STARTTLS\r\n" + hello);
        std::jthread back([&] { pump(far, near, [](string&) {}); });
        pump(near, far, [&](string& bytes) { bytes.back() ^= damages ? 1 : 0; });
    });
    ssl client;
    client.create(any_loopback_port);
    client.connect(local_address(network.socket));
    client.connect_client(ssl::credentials(), "mail.example");
    client.write("whole\n");
    EXPECT_EQ(line_from(client), "understood\n");
    damages = true;
    client.write("damaged\n");
    client.shutdown_send();
    serving.get();
    relaying.get();
}

// A name that is cut at its zero would be somebody's good certificate for another name; a dot in front would let in
// every name of the domain.
TEST(tls_socket, refuses_to_send_before_a_handshake_and_for_a_principal_that_cannot_be_meant) {
    connection pair;
    ssl socket;
    socket.adopt(pair.client);
    socket.set_receive_timeout(1);
    string out;
    EXPECT_THROW(socket.write("plain"), ssl::security);
    EXPECT_THROW(socket.read_some(out), ssl::security);
    for (const string& principal : {string("mail.example\0.net", 17), string(300, 'a'), string(".example")}) {
        if (!has_server_role && principal.find('\0') == string::npos) continue; // leaves these to the server
        EXPECT_EQ(thrown_by([&] { socket.connect_client(ssl::credentials(), principal); }),
                  "internet.transport.security.context[InitializeSecurityContext returned status 0x80090303]");
    }
    EXPECT_EQ(socket.sent_total(), 0U);
}

struct stranger_case {
    const char* label;
    string first_words;
    std::size_t alert_size;
    bool alert_leaves = true;
};
const string old_hello = string("\x16\x03\x01\x00\x2F\x01\x00\x00\x2B\x03\x02", 11) + string(32, 'r') +
                         string("\x00\x00\x04\xC0\x14\x00\x35\x01\x00", 9);
const stranger_case stranger_cases[] = {
    {"nothing", "", 0},
    {"a cut record", old_hello.substr(0, 20), 0},
    {"plain text", "GET / HTTP/1.0\r\n\r\n", 0},
    {"a client of TLS 1.1", old_hello, 7},
    {"a client of TLS 1.1 that cannot be told", old_hello, 0, false},
};

TEST(tls_server_door, refuses_who_does_not_speak_its_language) {
    if (!has_server_role) GTEST_SKIP();
    const ssl::credentials shown("mail.example", certificates() + "/mail.pem");
    for (const auto& c : stranger_cases) {
        SCOPED_TRACE(c.label);
        connection pair;
        ssl server;
        server.adopt(pair.server);
        pair.client.write(c.first_words);
        pair.client.shutdown_send();
        if (!c.alert_leaves) server.shutdown_send(); // sending fails, and the reason has to come out all the same
        EXPECT_NE(thrown_by([&] { server.accept_server(shown); }), "");
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
const char* const no_key = "internet.transport.security[AcquireCredentialsHandle returned status 0x8009030e]";
const store_case store_cases[] = {
    {"file", "mail.example", "/mail.pem", ""},
    {"any part of the subject, letters in either case", "de, brimWARDEN, MAIL", "/mail.pem", ""},
    {"key beside the certificate, junk around it", "mail.example", "/split", ""},
    {"the second file by name has the key of the first", "mail.example", "", no_key},
    {"a subject that its issuer has, too, and the issuer first", "brimwarden", "/upside.pem", ""},
    {"subject of an issuer", "root", "/upside.pem", no_such},
    {"other subject", "mail.example.net", "/mail.pem", no_such},
    {"with the name of a type, which is no part of it", "CN=mail.example", "/mail.pem", no_such},
    {"no certificate inside", "mail.example", "/split/junk.pem", no_such},
    {"no key", "mail.example", "/bare.pem", no_key},
    {"no such file", "mail.example", "/nowhere",
     "internet.transport.security.store_failed[CertOpenSystemStore returned status 0x00000002]"},
};

TEST(tls_credentials, finds_a_certificate_by_its_subject) {
    EXPECT_THROW(ssl::credentials("no.such.certificate.example"), ssl::security);
    if (!has_server_role) GTEST_SKIP() << "files are the other target's stores";
    for (const auto& c : store_cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(thrown_by([&] { const ssl::credentials made(c.subject, certificates() + c.store); }), c.expected);
    }
}

} // namespace
} // namespace tackle::internet::transport::tcp
