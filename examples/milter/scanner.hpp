// Scans with a limit on time and number.
#pragma once

#include "brmx.hpp"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace brmx_milter {

struct verdict {
    brmx::scan_result result;
    std::vector<brmx::trace_line> trace;
};

// Runs each scan in a thread of its own, so that a server of the community that keeps a connection open holds up nobody
// who waits for mail. What takes too long is left to end by itself, and counts until then.
class scanner final {
public:
    // most: scans at a time, abandoned ones included. community_timeout: how long one may wait for answers.
    scanner(const brmx::engine& running, std::size_t most, std::chrono::milliseconds community_timeout)
        : running_(running), most_(most), community_timeout_(community_timeout) {}
    scanner(const scanner&) = delete;
    scanner& operator=(const scanner&) = delete;

    // Nothing if there is no verdict within the limit. Any thread. Throws what the scan throws.
    [[nodiscard]] std::optional<verdict> scan(std::string message, std::chrono::milliseconds limit) {
        const auto end = std::chrono::steady_clock::now() + limit;
        if (!enter(end)) return std::nullopt;
        std::future<verdict> made;
        try {
            auto task = std::make_unique<std::packaged_task<verdict()>>(
                [this, message = std::move(message)] { return scan_now(message); });
            made = task->get_future();
            std::thread([this, task = std::move(task)]() mutable {
                (*task)();
                task.reset(); // the message goes before the place is free
                leave();
            }).detach();
        } catch (...) {
            leave();
            throw;
        }
        if (made.wait_until(end) != std::future_status::ready) return std::nullopt;
        return made.get();
    }

    // Starts no further scan. True if none is left within the limit: the engine may be shut down only then.
    [[nodiscard]] bool close(std::chrono::milliseconds limit) {
        std::unique_lock lock(mutex_);
        closed_ = true;
        freed_.notify_all();
        return freed_.wait_for(lock, limit, [this] { return scans_ == 0; });
    }

private:
    bool enter(std::chrono::steady_clock::time_point end) {
        std::unique_lock lock(mutex_);
        if (!freed_.wait_until(lock, end, [this] { return closed_ || scans_ < most_; }) || closed_) return false;
        ++scans_;
        return true;
    }

    void leave() {
        const std::lock_guard lock(mutex_);
        --scans_;
        freed_.notify_all();
    }

    [[nodiscard]] verdict scan_now(const std::string& message) const {
        brmx::session opened(running_, message);
        verdict made;
        made.result = opened.scan(community_timeout_);
        made.trace = opened.trace();
        return made;
    }

    const brmx::engine& running_;
    const std::size_t most_;
    const std::chrono::milliseconds community_timeout_;
    std::mutex mutex_;
    std::condition_variable freed_;
    std::size_t scans_ = 0;
    bool closed_ = false;
};

} // namespace brmx_milter
