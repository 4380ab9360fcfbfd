#include "foundation/sync/event.h"
#include "tests/network/loopback.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace tackle::internet::transport::udp {
namespace {

struct datagram_pair {
    datagram_pair() {
        open_datagram(left);
        open_datagram(right);
    }
    environment layer;
    raw left;
    raw right;
};

TEST(udp_raw, carries_datagrams_with_their_sender) {
    datagram_pair pair;
    for (const string& bytes : {string("\0a\xFF", 3), string(), string(65507, 'x')}) {
        pair.left.send_to(local_address(pair.right), bytes);
        string got;
        address::ip4 sender;
        pair.right.receive_from(sender, got, pair.right.max_message_size());
        EXPECT_TRUE(got == bytes);
        EXPECT_TRUE(sender == local_address(pair.left));
    }
    EXPECT_EQ(pair.left.sent_total(), 65510U);
    EXPECT_EQ(pair.right.received_total(), 65510U);
}

TEST(udp_raw, refuses_what_does_not_fit_and_runs_out_of_time) {
    datagram_pair pair;
    EXPECT_THROW(pair.left.send_to(local_address(pair.right), string(65508, 'x')), raw::message_truncated);
    pair.left.send_to(local_address(pair.right), "four");
    string got;
    address::ip4 sender;
    EXPECT_THROW(pair.right.receive_from(sender, got, 3), raw::message_truncated);
    pair.left.set_receive_timeout(1);
    EXPECT_THROW(pair.left.receive_from(sender, got, 100), raw::operation_timed_out);
}

// Closed again and again while a thread stands at any point of its receive. The number of the socket may be in use
// again at once: nothing may arrive from the socket that has it then.
TEST(udp_raw, close_ends_a_receive_of_another_thread) {
    const environment layer;
    for (int round = 0; round < 200; ++round) {
        auto socket = std::make_unique<raw>();
        open_datagram(*socket);
        std::atomic<bool> closing = false;
        event running(false);
        std::jthread receiver([&] {
            string got;
            address::ip4 sender;
            while (!closing) {
                running.set();
                EXPECT_THROW(socket->receive_from(sender, got, 100), exception);
            }
        });
        running.wait();
        closing = true;
        socket->close_socket();
        raw next;
        open_datagram(next);
        next.send_to(local_address(next), "not for the receiver");
        receiver.join();
    }
}

// On systems that tell: the refusal belongs to the receiver, with the address, and no sender ever sees it.
TEST(udp_raw, a_refused_port_fails_no_send) {
    datagram_pair pair;
    raw gone;
    open_datagram(gone);
    const auto nobody = local_address(gone);
    gone.close_socket();
    std::vector<std::jthread> senders;
    for (int thread = 0; thread < 3; ++thread)
        senders.emplace_back([&] {
            for (int i = 0; i < 300; ++i) {
                EXPECT_NO_THROW(pair.left.send_to(nobody, "anybody?"));
                EXPECT_NO_THROW(pair.left.send_to(local_address(pair.right), "hello"));
            }
        });
    senders.clear();
    pair.right.send_to(local_address(pair.left), "end");
    bool ended = false;
    while (!ended) {
        string got;
        address::ip4 sender;
        try {
            pair.left.receive_from(sender, got, 100);
            EXPECT_TRUE(sender == local_address(pair.right));
            ended = got == "end";
        } catch (const raw::port_unreachable&) {
            EXPECT_TRUE(sender == nobody || sender == address::ip4());
        }
    }
}

} // namespace
} // namespace tackle::internet::transport::udp
