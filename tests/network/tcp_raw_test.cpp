#include "tests/network/loopback.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#ifndef _WIN32
#include <csignal>
#include <unistd.h>
#endif

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

// More than the system's buffers keep, and the queue drops what was not flushed before the end.
TEST(tcp_raw, sends_queued_lines_when_they_are_flushed) {
    connection pair;
    pair.client.set_send_buffer(4096);
    const string large(3'000'000, 'x');
    std::jthread writer([&] {
        pair.client.write_line("one", false);
        EXPECT_EQ(pair.client.sent_total(), 0U);
        pair.client.write_line(large, true);
        pair.client.write_line("dropped", false);
        pair.client.shutdown_send();
        pair.client.flush();
    });
    string all;
    EXPECT_THROW(for (;;) pair.server.read_some(all), base::connection_closed);
    EXPECT_TRUE(all == "one\r\n" + large + "\r\n");
    EXPECT_EQ(pair.server.received_total(), all.size());
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
    connection pair;
    pair.client.set_receive_timeout(1);
    pair.client.set_send_timeout(50);
    string out;
    EXPECT_THROW(pair.client.read_some(out), base::connection_timed_out);
    EXPECT_THROW(for (;;)(void) pair.client.send_some(string(16384, '\0')), base::connection_timed_out);
    connection gone; // a signal or a crash would end the test program
    gone.server.close_socket();
    EXPECT_THROW(for (;;) gone.client.write("into the void"), base::connection_failed);
}

#ifndef _WIN32
// As the timer of a profiler does: the limit of a receive is up all the same, and not later each time.
TEST(tcp_raw, signals_do_not_put_off_the_end_of_a_receive) {
    struct sigaction nothing {};
    nothing.sa_handler = [](int) {};
    sigaction(SIGUSR2, &nothing, nullptr);
    connection pair;
    udp::raw datagrams;
    open_datagram(datagrams);
    string out;
    address::ip4 sender;
    const std::function<void()> receives[] = {[&] { pair.client.read_some(out); },
                                              [&] { datagrams.receive_from(sender, out, 1); }};
    pair.client.set_receive_timeout(100);
    datagrams.set_receive_timeout(100);
    for (const auto& receive : receives) {
        std::atomic<bool> over = false;
        std::jthread receiver([&] {
            EXPECT_THROW(receive(), generic);
            over = true;
        });
        int signals = 0;
        for (; !over && signals < 1000; ++signals) {
            pthread_kill(receiver.native_handle(), SIGUSR2);
            usleep(10'000);
        }
        EXPECT_LT(signals, 1000);
    }
}
#endif

TEST(tcp_raw, close_ends_an_accept_and_is_quiet_the_second_time) {
    const environment layer;
    listener door;
    raw accepted;
    std::jthread waiter([&] { EXPECT_THROW(accepted.accept(door.socket), generic); });
    door.socket.close_socket();
    waiter.join();
    door.socket.close_socket();
    EXPECT_FALSE(door.socket.has_socket() || accepted.has_socket());
}

} // namespace
} // namespace tackle::internet::transport::tcp
