#include "foundation/coding/md5.h"
#include "tests/network/tls_peers.h"

#include <gtest/gtest.h>

#include <algorithm>

// Our client against openssl s_server.
namespace tackle::internet::transport::tcp {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t long_haul = 10'000'000;
#else
constexpr std::size_t long_haul = 100'000'000;
#endif

struct version {
    const char* option;
    const char* name;
};

class tls_client : public testing::TestWithParam<version> {
protected:
    void join(const server_program& server, const string& principal) {
        client.create(any_loopback_port);
        client.connect(server.address);
        client.connect_client(ssl::credentials(), principal);
    }
    // Until the handshake is behind the server as well: it takes its commands for data before.
    void settle(server_program& server) {
        client.write("settled\n");
        server.run.read_until("settled");
    }
    string options(const char* more) const { return string(GetParam().option) + " " + more; }

    environment layer;
    ssl client;
};

TEST_P(tls_client, talks_with_the_version_of_the_server) {
    server_program server("mail", options("-rev"));
    join(server, "mail.example");
    client.write("live\n");
    EXPECT_EQ(line_from(client), "evil\n");
    server.run.read_until(string("Protocol version: ") + GetParam().name);
}

struct principal_case {
    const char* label;
    const char* certificate;
    string principal;
    const char* expected; // of the exception, or null
};
const principal_case principal_cases[] = {
    {"the name, in other letters", "mail", "MAIL.example", nullptr},
    {"the address", "mail", "127.0.0.1", nullptr},
    {"another name", "mail", "mail.example.net", "internet.transport.security.wrong_principal[]"},
    {"another address", "mail", "127.0.0.2", "internet.transport.security.wrong_principal[]"},
    {"the subject's name beside alternative ones", "mail", "mail", "internet.transport.security.wrong_principal[]"},
    {"nobody trusted signed", "stranger", "mail.example",
     "internet.transport.security.context[InitializeSecurityContext returned status 0x80090325]"},
    {"nobody trusted signed, and nobody asks", "stranger", "", nullptr},
    {"another name, and nobody asks", "mail", "", nullptr},
};

TEST_P(tls_client, verifies_what_the_server_shows) {
#ifdef _WIN32
    GTEST_SKIP() << "Wine's Schannel verifies nothing";
#endif
    for (const auto& c : principal_cases) {
        SCOPED_TRACE(c.label);
        server_program server(c.certificate, options("-rev"));
        ssl one;
        one.create(any_loopback_port);
        one.connect(server.address);
        string thrown;
        try {
            one.connect_client(ssl::credentials(), c.principal);
            one.write("x\n");
            EXPECT_EQ(line_from(one), "x\n");
        } catch (const exception& e) {
            thrown = e.what();
        }
        EXPECT_EQ(thrown, c.expected != nullptr ? c.expected : "");
        one.close_socket();
        server.run.read_all();
    }
}

// A name that is cut at its zero would be somebody's good certificate for another name; a dot in front would let in
// every name of the domain.
TEST_P(tls_client, refuses_a_principal_that_cannot_be_meant_before_it_sends) {
    connection pair;
    ssl one;
    one.adopt(pair.client);
    one.set_receive_timeout(1);
    for (const string& principal : {string("mail.example\0.net", 17), string(300, 'a'), string(".example")}) {
#ifdef _WIN32
        if (principal.find('\0') == string::npos) continue; // leaves these to the server
#endif
        try {
            one.connect_client(ssl::credentials(), principal);
            ADD_FAILURE() << principal;
        } catch (const ssl::context& e) {
            EXPECT_STREQ(e.message(), "InitializeSecurityContext returned status 0x80090303");
        }
    }
    EXPECT_EQ(one.sent_total(), 0U);
}

TEST_P(tls_client, ends_when_the_server_asks_to_renegotiate) {
    if (string(GetParam().option) != "-tls1_2") return; // later versions have no such wish
    server_program server("mail", options(""));
    join(server, "mail.example");
    settle(server);
    server.run.write("r\n");
    string out;
    try {
        client.read_some(out);
        FAIL() << out;
    } catch (const ssl::security& e) {
        EXPECT_STREQ(e.what(), "internet.transport.security[DecryptMessage returned status 0x00090321]");
    }
    EXPECT_THROW(client.read_some(out), ssl::security);
    EXPECT_THROW(client.write("x"), ssl::security);
}

TEST_P(tls_client, goes_on_after_a_change_of_keys) {
    if (string(GetParam().option) != "-tls1_3") return;
    server_program server("mail", options(""));
    join(server, "mail.example");
    settle(server);
    server.run.write("K\n"); // asks for ours, too
    server.run.read_until("SSL_do_handshake -> 1");
    server.run.write("under the second key\n");
    EXPECT_EQ(line_from(client), "under the second key\n");
    client.write("and back\n");
    server.run.read_until("and back");
}

TEST_P(tls_client, tells_the_closing_alert_from_a_mere_end) {
#ifdef _WIN32
    GTEST_SKIP() << "Wine's Schannel passes the alert over";
#endif
    server_program server("mail", options("-www"));
    join(server, "mail.example");
    client.write("GET / HTTP/1.0\r\n\r\n");
    string page;
    try {
        for (;;)
            client.read_some(page);
    } catch (const ssl::security& e) {
        EXPECT_STREQ(e.message(), "DecryptMessage returned status 0x00090317");
    }
    client.set_receive_timeout(1); // the server waits for our end
    EXPECT_THROW(client.read_some(page), ssl::security);
    EXPECT_TRUE(page.starts_with("HTTP/1.0 200") && page.ends_with("</HTML>\r\n\r\n")) << page;
    const auto sent = client.sent_total();
    client.write("the alert has closed the other direction alone");
    EXPECT_GT(client.sent_total(), sent);
}

// Each line is longer than two reads of the socket, and comes back from its end to its beginning.
TEST_P(tls_client, carries_much_in_both_directions) {
    server_program server("mail", options("-rev"));
    join(server, "mail.example");
    string line(16'000, '\0');
    coding::md5 expected;
    coding::md5 got;
    std::uint32_t state = 1;
    string back;
    for (std::size_t sent = 0; sent < long_haul; sent += line.size()) {
        for (char& c : line) {
            state = state * 1664525 + 1013904223;
            c = static_cast<char>('A' + (state >> 24) % 50);
        }
        client.write(line + "\n");
        std::reverse(line.begin(), line.end());
        expected.update(line);
        for (std::size_t missing = line.size() + 1; missing > 0; missing -= back.size()) {
            back.clear();
            client.read_up_to(back, missing);
            got.update(string_view(back).substr(0, back.size() - (back.size() == missing ? 1 : 0)));
        }
    }
    EXPECT_EQ(got.finish(), expected.finish());
}

#ifdef _WIN32
const version versions[] = {{"-tls1_2", "TLSv1.2"}}; // as far as Wine's Schannel goes
#else
const version versions[] = {{"-tls1_2", "TLSv1.2"}, {"-tls1_3", "TLSv1.3"}};
#endif
INSTANTIATE_TEST_SUITE_P(versions, tls_client, testing::ValuesIn(versions),
                         [](const auto& made) { return string(made.index == 0 ? "tls_1_2" : "tls_1_3"); });

} // namespace
} // namespace tackle::internet::transport::tcp
