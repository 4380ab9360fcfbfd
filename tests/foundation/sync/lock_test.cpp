#include "foundation/exception.h"
#include "foundation/sync/event.h"
#include "foundation/sync/mutex.h"
#include "foundation/sync/real_mutex.h"
#include "foundation/sync/rw.h"
#include "foundation/sync/scope.h"
#include "foundation/sync/turnstile.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace tackle {
namespace {

// Writes down what a guard does to it.
class recorder final : public scope_semantics {
public:
    void enter_shared() override { calls += "s"; }
    void enter() override { calls += "e"; }
    void leave_shared() override { calls += "S"; }
    void leave() override { calls += "E"; }
    string calls;
};

TEST(scope, holds_until_left_or_destroyed) {
    recorder lock;
    { const scope whole(&lock); }
    EXPECT_EQ(lock.calls, "eE");
    {
        scope early(&lock);
        early.leave();
        EXPECT_EQ(lock.calls, "eEeE");
        early.leave();
        const scope nothing(nullptr);
        const const_scope nothing_to_read(nullptr);
    }
    EXPECT_EQ(lock.calls, "eEeE");
    {
        const_scope reading(&lock);
        scope nested(&reading); // a guard is lockable itself: one more reading hold, given back once
        nested.leave();
    }
    EXPECT_EQ(lock.calls, "eEeEssS");
}

TEST(locks, let_one_thread_in_at_a_time) {
    mutex plain;
    real_mutex timed;
    rw shared;
    for (scope_semantics* const lock : std::initializer_list<scope_semantics*>{&plain, &timed, &shared}) {
        int counter = 0;
        const auto work = [&] {
            for (int i = 0; i < 5'000; ++i) {
                const scope held(lock);
                ++counter;
            }
        };
        {
            const std::jthread other(work);
            work();
        }
        EXPECT_EQ(counter, 10'000);
    }
}

TEST(mutex, is_recursive_and_not_taken_for_reading) {
    mutex lock;
    const scope outer(&lock);
    const scope inner(&lock);
    std::jthread([&] { const const_scope reading(&lock); }); // would never end
}

TEST(event, lets_through_until_reset) {
    event flag(false);
    EXPECT_FALSE(flag.wait(0));
    flag.set();
    EXPECT_TRUE(flag.wait(0));
    EXPECT_TRUE(flag.wait());
    flag.reset();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_FALSE(flag.wait(1'030)); // a whole second and a part of one
    const auto passed = std::chrono::steady_clock::now() - before;
    EXPECT_GE(passed, std::chrono::milliseconds(1'000)); // Windows counts in ticks
    EXPECT_LT(passed, std::chrono::seconds(60));
}

TEST(real_mutex, is_recursive_and_refuses_others_while_held) {
    real_mutex lock;
    lock.enter();
    EXPECT_TRUE(lock.enter(0));
    for (const bool held : {true, true, false}) {
        std::jthread([&] {
            const bool got = lock.enter(0) || lock.enter(1);
            EXPECT_NE(got, held);
            if (got) lock.leave();
        });
        if (held) lock.leave();
    }
#ifndef __SANITIZE_THREAD__ // which takes the misuse for the fault that it would be elsewhere
    EXPECT_THROW(lock.leave(), exception);
#endif
}

TEST(real_mutex, is_free_when_its_thread_has_died) {
    for (const std::uint32_t timeout_ms : {std::uint32_t{0}, std::uint32_t{1'000}, infinite}) {
        SCOPED_TRACE(timeout_ms);
        real_mutex lock;
        std::jthread([&] {
            lock.enter();
            lock.enter(); // twice: none of them is left
        });
        EXPECT_TRUE(lock.enter(timeout_ms));
        lock.leave();
        std::jthread([&] {
            EXPECT_TRUE(lock.enter(0)); // whole again
            lock.leave();
        });
    }
}

void yield_often() {
    for (int i = 0; i < 500; ++i)
        std::this_thread::yield();
}

TEST(rw, lets_readers_in_together_and_not_beside_a_writer) {
    rw lock;
    std::atomic<bool> done = false;
    {
        const const_scope reading(&lock);
        std::jthread([&] { const const_scope beside(&lock); }); // would never end
    }
    lock.enter();
    const std::jthread reader([&] {
        const const_scope reading(&lock);
        EXPECT_TRUE(done);
    });
    yield_often();
    done = true;
    lock.leave();
}

// A reader comes again and again while another one stays. Only the waiting writer can stop it. A reader that pauses by
// chance ends a round too early, which hides a fault in that round and never reports one.
TEST(rw, keeps_new_readers_out_while_a_writer_waits) {
    for (int round = 0; round < 20; ++round) {
        rw lock;
        std::atomic<int> readings = 0;
        std::atomic<bool> written = false;
        lock.enter_shared();
        const std::jthread reader([&] {
            while (!written) {
                const const_scope reading(&lock);
                ++readings;
            }
        });
        const std::jthread writer([&] {
            const scope writing(&lock);
            written = true;
        });
        int before = -1;
        for (int tries = 0; before != readings && tries < 100'000; ++tries) {
            before = readings;
            yield_often();
        }
        EXPECT_EQ(before, readings);
        EXPECT_FALSE(written);
        lock.leave_shared();
    }
}

TEST(turnstile, counts_who_is_inside) {
    turnstile gate;
    EXPECT_FALSE(gate.closing());
    {
        const scope first(&gate);
        std::jthread([&] { const scope second(&gate); });
        EXPECT_FALSE(gate.close(0)); // the first one is still there
        EXPECT_TRUE(gate.closing());
    }
    EXPECT_TRUE(gate.close(0));
    const scope late(&gate); // closing keeps nobody out
    EXPECT_FALSE(gate.close(1));
}

TEST(turnstile, may_be_destroyed_by_who_closed_it) {
    for (int i = 0; i < 1'000; ++i) {
        auto gate = std::make_unique<turnstile>();
        event inside(false);
        const std::jthread worker([&inside, raw = gate.get()] {
            const scope passing(raw);
            inside.set();
            while (!raw->closing())
                std::this_thread::yield();
        });
        inside.wait();
        EXPECT_TRUE(gate->close(infinite));
        gate.reset();
    }
}

} // namespace
} // namespace tackle
