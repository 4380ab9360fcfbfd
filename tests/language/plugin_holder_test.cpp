#include "language/plugin_holder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <new>
#include <thread>
#include <vector>

namespace {

using namespace brimwarden::language;

class silent_plugin final : public plugins::generic::plugin {
public:
    void supported_languages(std::set<std::uint32_t>&) const override {}
    void detect(tackle::wstring_view, result_map&, std::uint64_t&, brimwarden::analysis::trace_list&) const override {}
};

TEST(plugin_holder, makes_one_plugin_for_threads_that_come_at_once) {
    tackle::rw lock;
    plugin_holder holder;
    const auto fail = []() -> std::unique_ptr<silent_plugin> { throw std::bad_alloc(); };
    EXPECT_THROW(made_once(holder, lock, fail), std::bad_alloc); // and the next caller tries again
    std::atomic<int> made = 0;
    std::vector<plugin_holder> seen(16);
    std::barrier start(16);
    std::vector<std::jthread> threads;
    for (auto& mine : seen)
        threads.emplace_back([&] {
            start.arrive_and_wait();
            mine = made_once(holder, lock, [&] {
                ++made;
                std::this_thread::yield(); // a second one would come in here
                return std::make_unique<silent_plugin>();
            });
        });
    threads.clear();
    EXPECT_EQ(made, 1);
    EXPECT_EQ(seen, std::vector(16, holder));
}

} // namespace
