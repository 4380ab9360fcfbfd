#include "tests/network/loopback.h"

#include <gtest/gtest.h>

#include <thread>

namespace tackle::internet::transport::tcp {
namespace {

TEST(tcp_raw, reads_lines_with_either_pair_as_one_end) {
    connection pair;
    pair.server.write("ab\r\ncd\n\refg\n\nx");
    pair.server.shutdown_send();
    for (const char* expected : {"ab", "cd", "efg", ""}) {
        string line = "left over";
        pair.client.read_line(line);
        EXPECT_EQ(line, expected);
    }
    string line;
    EXPECT_THROW(pair.client.read_line(line), base::connection_closed); // no end in "x"
    pair.client.read_some(line);
    EXPECT_EQ(line, "x");
}

TEST(tcp_raw, waits_for_the_other_half_of_a_line_end) {
    connection pair;
    pair.server.write("cd\n");
    string line;
    bool sent = false;
    std::jthread reader([&] {
        pair.client.read_line(line);
        EXPECT_TRUE(sent);
    });
    sent = true; // ordered before the read's end by the bytes on the wire
    pair.server.write("\rnext");
    reader.join();
    EXPECT_EQ(line, "cd");
    string rest;
    pair.client.read_up_to(rest, 2);
    EXPECT_EQ(rest, "ne");
    pair.client.read_up_to(rest, 100); // what there is, without waiting for more
    EXPECT_EQ(rest, "next");
}

TEST(tcp_raw, keeps_queued_lines_until_they_are_flushed) {
    connection pair;
    pair.client.write_line("one", false);
    EXPECT_EQ(pair.client.sent_total(), 0U);
    pair.client.write_line("two", true);
    EXPECT_EQ(pair.client.sent_total(), 10U);
    pair.client.write_line("dropped", false);
    pair.client.shutdown_send();
    pair.client.flush();
    string all;
    EXPECT_THROW(for (;;) pair.server.read_some(all), base::connection_closed);
    EXPECT_EQ(all, "one\r\ntwo\r\n");
    EXPECT_EQ(pair.server.received_total(), 10U);
}

TEST(tcp_raw, carries_more_than_the_system_buffers) {
    connection pair;
    pair.client.set_send_buffer(4096);
    string sent(3'000'000, '\0');
    for (std::size_t i = 0; i < sent.size(); ++i)
        sent[i] = static_cast<char>(i * 7 >> 3);
    std::jthread writer([&] {
        pair.client.write(sent);
        pair.client.shutdown_send();
    });
    string got;
    EXPECT_THROW(for (;;) pair.server.read_some(got), base::connection_closed);
    EXPECT_TRUE(got == sent);
}

TEST(tcp_raw, tells_failures_by_cause) {
    const environment layer;
    address::ip4 nobody;
    {
        listener door;
        nobody = local_address(door.socket);
    }
    raw socket;
    EXPECT_THROW(socket.connect(nobody), not_a_socket);
    socket.create(nobody);
    EXPECT_THROW(socket.connect(nobody), base::connection_refused);
    raw second;
    second.create(nobody);
    address::ip4 peer;
    EXPECT_THROW(second.peer_address(peer), base::connection_failed);
    EXPECT_THROW(second.bind(address::ip4(0xC0000201, 0)), address_not_valid);
    listener door;
    EXPECT_THROW(second.bind(local_address(door.socket)), address_in_use);
}

TEST(tcp_raw, tells_a_receive_that_ran_out_of_time) {
    connection pair;
    pair.client.set_receive_timeout(1);
    string out;
    try {
        pair.client.read_some(out);
        FAIL() << "something came";
    } catch (const base::connection_timed_out& e) {
        EXPECT_STREQ(e.what(), "internet.transport.connection_failed.connection_timed_out[recv() failed]");
    }
}

// A signal or a crash would end the test program.
TEST(tcp_raw, raises_when_it_writes_to_a_peer_that_is_gone) {
    connection pair;
    pair.server.close_socket();
    EXPECT_THROW(for (;;) pair.client.write("into the void"), base::connection_failed);
}

TEST(tcp_raw, close_ends_an_accept_and_is_quiet_the_second_time) {
    const environment layer;
    listener door;
    raw accepted;
    std::jthread waiter([&] { EXPECT_THROW(accepted.accept(door.socket), generic); });
    door.socket.close_socket();
    waiter.join();
    door.socket.close_socket();
    EXPECT_FALSE(door.socket.has_socket());
    EXPECT_FALSE(accepted.has_socket());
}

} // namespace
} // namespace tackle::internet::transport::tcp
