#include "tests/network/tls_peers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <mutex>

// Our client against our server, with a network between them that does its worst. Versions are the system's default;
// CTest runs these a second time with a configuration of OpenSSL that allows TLS 1.2 only.
namespace tackle::internet::transport::tcp {
namespace {

constexpr char change_cipher = 20;
constexpr char application_data = 23;

void pass(string_view bytes, raw& onward) { onward.write(bytes); }

class tls_pair : public testing::Test {
protected:
    void SetUp() override {
        if (!has_server_role()) GTEST_SKIP() << "no server role here";
    }

    // Both handshakes, then what the two do.
    template <typename client_part, typename server_part>
    void run(relay::filter to_server, relay::filter to_client, client_part in_client, server_part in_server) {
        const string store = certificates() + "/mail.pem"; // first, since it also makes what clients trust
        relay between(local_address(door.socket), std::move(to_server), std::move(to_client));
        ssl client;
        ssl server;
        auto serving = std::async(std::launch::async, [&] {
            server.accept(door.socket);
            server.accept_server(ssl::credentials("mail.example", store));
            in_server(server);
        });
        try {
            client.create(any_loopback_port);
            client.connect(between.address());
            client.connect_client(ssl::credentials(), "mail.example");
            in_client(client);
        } catch (...) {
            client.close_socket(); // lets the server end
            serving.wait();
            throw;
        }
        serving.get();
    }

    environment layer;
    listener door;
};

// Who changes its cipher second speaks the last words of the handshake: those and its first data arrive as one.
struct last_words {
    std::mutex lock;
    const void* first = nullptr; // direction whose cipher changed first
    int coalesced = -1;          // direction that was held: 0 to the server
    relay::filter held(int direction) {
        auto records = std::make_shared<record_reader>();
        auto kept = std::make_shared<std::vector<string>>();
        return [this, direction, records, kept](string_view bytes, raw& onward) {
            for (const auto& record : records->feed(bytes)) {
                if (!kept->empty() || (record[0] == change_cipher && !changes_first(records.get())))
                    kept->push_back(record);
                else
                    onward.write(record);
            }
            if (kept->size() != 3) return; // the change, the last message, the data
            onward.write((*kept)[0] + (*kept)[1] + (*kept)[2]);
            kept->clear();
            coalesced = direction;
        };
    }
    bool changes_first(const void* direction) {
        const std::scoped_lock held_lock(lock);
        if (first == nullptr) first = direction;
        return first == direction;
    }
};

TEST_F(tls_pair, keeps_data_that_comes_with_the_last_message) {
    last_words words;
    const auto part = [](const char* said, const char* expected) {
        return [said, expected](ssl& socket) {
            socket.write(said);
            string heard;
            while (heard.size() < 5)
                socket.read_some(heard);
            EXPECT_EQ(heard, expected);
        };
    };
    run(words.held(0), words.held(1), part("early", "known"), part("known", "early"));
    const bool old = std::getenv("BRMX_TEST_TLS_1_2") != nullptr; // set along with the configuration
    EXPECT_EQ(words.coalesced, old ? 1 : 0);
}

TEST_F(tls_pair, understands_one_byte_at_a_time) {
    const auto slowly = [](string_view bytes, raw& onward) {
        for (const char& c : bytes)
            onward.write({&c, 1});
    };
    run(
        slowly, slowly,
        [](ssl& socket) {
            socket.write_line("a question", true);
            string line;
            socket.read_line(line);
            EXPECT_EQ(line, "an answer");
        },
        [](ssl& socket) {
            string line;
            socket.read_line(line);
            EXPECT_EQ(line, "a question");
            socket.write("an answer\r\n");
        });
}

TEST_F(tls_pair, cuts_a_long_write_into_records) {
    record_reader records;
    std::vector<std::size_t> sizes;
    const auto count = [&](string_view bytes, raw& onward) {
        for (const auto& record : records.feed(bytes))
            if (record[0] == application_data) sizes.push_back(record.size() - 5);
        onward.write(bytes);
    };
    string sent(16384 * 3 + 1, '\0');
    for (std::size_t i = 0; i < sent.size(); ++i)
        sent[i] = static_cast<char>(i * 31 >> 4);
    string got;
    run(
        count, pass, [&](ssl& socket) { socket.write(sent); },
        [&](ssl& socket) {
            while (got.size() < sent.size())
                socket.read_some(got);
        });
    EXPECT_TRUE(got == sent);
    ASSERT_GE(sizes.size(), 4U);
    const auto last = sizes.end() - 4;
    EXPECT_EQ(last[0], last[1]);
    EXPECT_EQ(last[0], last[2]);
    EXPECT_EQ(last[0] - last[3], 16383U); // the same frame around each piece
}

// The peer vanishes after so many bytes of its side of the handshake.
TEST_F(tls_pair, raises_when_the_peer_closes_in_the_handshake) {
    for (const std::size_t limit : {0, 1, 4, 5, 60, 127, 700, 1000}) {
        SCOPED_TRACE(limit);
        std::size_t left = limit;
        const auto cut = [&](string_view bytes, raw& onward) {
            onward.write(bytes.substr(0, left));
            left -= std::min(left, bytes.size());
            if (left == 0) throw base::connection_closed("cut");
        };
        const auto nothing = [](ssl&) {};
        EXPECT_THROW(run(pass, cut, nothing, nothing), base::connection_closed);
    }
}

// What the wire does to the last byte of the first record of data, and what the reader says.
TEST_F(tls_pair, delivers_nothing_of_a_record_that_is_not_whole) {
    for (const bool change : {false, true}) {
        SCOPED_TRACE(change ? "changed" : "cut off");
        record_reader records;
        std::size_t long_ones = 0;
        const auto damage = [&](string_view bytes, raw& onward) {
            for (auto record : records.feed(bytes)) {
                const bool ours = record[0] == application_data && record.size() > 10000;
                if (ours && ++long_ones == 2) {
                    record.back() ^= 1;
                    onward.write(string_view(record).substr(0, record.size() - (change ? 0 : 1)));
                    throw base::connection_closed("cut");
                }
                onward.write(record);
            }
        };
        string got;
        string thrown;
        run(
            damage, pass, [](ssl& socket) { socket.write(string(16384, 'a') + string(16384, 'b')); },
            [&](ssl& socket) {
                try {
                    for (;;)
                        socket.read_some(got);
                } catch (const exception& e) {
                    thrown = e.what();
                }
            });
        EXPECT_TRUE(got == string(16384, 'a')) << got.size();
        EXPECT_EQ(thrown, change ? "internet.transport.security[DecryptMessage returned status 0x8009030f]"
                                 : "internet.transport.connection_failed.connection_closed[recv() failed]");
    }
}

TEST_F(tls_pair, goes_over_to_the_cipher_with_bytes_that_came_early) {
    const string store = certificates() + "/mail.pem";
    record_reader records;
    bool together = false;
    relay between(
        local_address(door.socket),
        [&](string_view bytes, raw& onward) {
            for (const auto& record : records.feed(bytes))
                onward.write((std::exchange(together, true) ? "" : "STARTTLS\r\n") + record);
        },
        pass);
    raw plain_client;
    plain_client.create(any_loopback_port);
    plain_client.connect(between.address());
    raw plain_server;
    plain_server.accept(door.socket);
    ssl client;
    ssl server;
    auto connecting = std::async(std::launch::async, [&] {
        client.adopt(plain_client);
        client.connect_client(ssl::credentials(), "mail.example");
        client.write("secret");
    });
    string line;
    plain_server.read_line(line);
    EXPECT_EQ(line, "STARTTLS");
    server.adopt(plain_server);
    EXPECT_FALSE(plain_server.has_socket());
    server.adopt(server);
    EXPECT_TRUE(server.has_socket());
    server.accept_server(ssl::credentials("mail.example", store));
    string got;
    server.read_some(got);
    EXPECT_EQ(got, "secret");
    connecting.get();
}

TEST(tls_socket, raises_before_a_handshake_and_sends_nothing) {
    connection pair;
    ssl socket;
    socket.adopt(pair.client);
    string out;
    EXPECT_THROW(socket.write("plain"), ssl::security);
    EXPECT_THROW(socket.read_some(out), ssl::security);
    EXPECT_EQ(socket.sent_total(), 0U);
}

} // namespace
} // namespace tackle::internet::transport::tcp
