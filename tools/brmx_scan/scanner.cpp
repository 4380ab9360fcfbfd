#include "tools/brmx_scan/scanner.h"

#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>

namespace brmx_scan {

namespace {

report scan_one(const engine& scanner, source from, const questions& asked) {
    report made{from.name, {}, from.error, from.bytes};
    if (!made.error.empty()) return made;
    try {
        if (!from.content) made.error = read_source(from.name, from.content.emplace());
        if (made.bytes == 0) made.bytes = from.content->size();
        if (made.error.empty()) made.result = scanner.work_on(*from.content, asked);
    } catch (const std::bad_alloc&) {
        made = {from.name, {}, "not enough memory", made.bytes};
    }
    return made;
}

// Hands out messages to threads and takes reports back into order.
class queue {
public:
    queue(message_feed& messages, std::size_t ahead) : messages_(messages), ahead_(ahead) {}

    // False when there is nothing left.
    bool take(source& message, std::size_t& index) {
        const std::lock_guard turn(feed_mutex_); // not the other: reports go on while one waits for a pipe
        {
            std::unique_lock lock(mutex_);
            room_.wait(lock, [&] { return stopped_ || taken_ < shown_ + ahead_; });
            if (stopped_) return false;
        }
        const bool got = messages_.next(message);
        const std::lock_guard lock(mutex_);
        if (got) {
            index = taken_++;
        } else {
            stopped_ = true;
            ready_.notify_one();
        }
        return got;
    }

    void put(std::size_t index, report made) {
        const std::lock_guard lock(mutex_);
        done_.emplace(index, std::move(made));
        ready_.notify_one();
    }

    // The next report in order; waits for it. None after the last.
    std::optional<report> get() {
        std::unique_lock lock(mutex_);
        ready_.wait(
            lock, [&] { return (!done_.empty() && done_.begin()->first == shown_) || (stopped_ && taken_ == shown_); });
        if (done_.empty()) return {};
        report made = std::move(done_.extract(done_.begin()).mapped());
        ++shown_;
        room_.notify_all();
        return made;
    }

    void stop() {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        room_.notify_all();
    }

private:
    message_feed& messages_;
    std::mutex feed_mutex_;
    std::mutex mutex_;
    std::condition_variable room_;
    std::condition_variable ready_;
    std::map<std::size_t, report> done_;
    std::size_t taken_ = 0;
    std::size_t shown_ = 0;
    const std::size_t ahead_;
    bool stopped_ = false; // nothing more is handed out
};

} // namespace

void scan_all(const engine& scanner, message_feed& messages, unsigned jobs, const questions& asked,
              const std::function<void(report&)>& show) {
    if (jobs == 1) {
        for (source message; messages.next(message);) {
            report made = scan_one(scanner, std::move(message), asked);
            show(made);
        }
        return;
    }
    queue work(messages, std::size_t{4} * jobs);
    struct stopper { // declared before the threads: joined after it has told them to end
        queue& work;
        std::vector<std::jthread> threads;
        ~stopper() { work.stop(); }
    } running{work, {}};
    const auto run = [&] {
        source message;
        std::size_t index = 0;
        while (work.take(message, index))
            work.put(index, scan_one(scanner, std::move(message), asked));
    };
    try {
        while (running.threads.size() < jobs)
            running.threads.emplace_back(run);
    } catch (const std::system_error&) { // fewer than asked for will do
        if (running.threads.empty()) throw;
    }
    while (auto made = work.get())
        show(*made);
}

} // namespace brmx_scan
