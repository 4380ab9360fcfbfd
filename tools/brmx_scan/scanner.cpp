#include "tools/brmx_scan/scanner.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <new>
#include <thread>

namespace brmx_scan {

namespace {

report scan_one(const engine& scanner, const source& from, const questions& asked) {
    report made{from.name, {}, from.error};
    if (!made.error.empty()) return made;
    try {
        std::string content;
        made.error = read_source(from.name, content);
        if (made.error.empty()) made.result = scanner.work_on(content, asked);
    } catch (const std::bad_alloc&) {
        made = {from.name, {}, "not enough memory"};
    }
    return made;
}

// Hands out indexes to threads and takes reports back into order.
class queue {
public:
    queue(std::size_t total, std::size_t ahead) : total_(total), ahead_(ahead) {}

    // False when there is nothing left.
    bool take(std::size_t& index) {
        std::unique_lock lock(mutex_);
        room_.wait(lock, [&] { return stopped_ || next_ == total_ || next_ < shown_ + ahead_; });
        if (stopped_ || next_ == total_) return false;
        index = next_++;
        return true;
    }

    void put(std::size_t index, report made) {
        const std::lock_guard lock(mutex_);
        done_.emplace(index, std::move(made));
        ready_.notify_one();
    }

    // The next report in order; waits for it.
    report get() {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [&] { return !done_.empty() && done_.begin()->first == shown_; });
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
    std::mutex mutex_;
    std::condition_variable room_;
    std::condition_variable ready_;
    std::map<std::size_t, report> done_;
    std::size_t next_ = 0;
    std::size_t shown_ = 0;
    const std::size_t total_;
    const std::size_t ahead_;
    bool stopped_ = false;
};

} // namespace

void scan_all(const engine& scanner, const std::vector<source>& sources, unsigned jobs, const questions& asked,
              const std::function<void(const report&)>& show) {
    if (jobs == 1) {
        for (const auto& from : sources)
            show(scan_one(scanner, from, asked));
        return;
    }
    queue work(sources.size(), std::size_t{4} * jobs);
    struct stopper { // declared before the threads: joined after it has told them to end
        queue& work;
        std::vector<std::jthread> threads;
        ~stopper() { work.stop(); }
    } running{work, {}};
    for (unsigned i = 0; i < std::min<std::size_t>(jobs, sources.size()); ++i) {
        running.threads.emplace_back([&] {
            std::size_t index = 0;
            while (work.take(index))
                work.put(index, scan_one(scanner, sources[index], asked));
        });
    }
    for (std::size_t shown = 0; shown < sources.size(); ++shown)
        show(work.get());
}

} // namespace brmx_scan
