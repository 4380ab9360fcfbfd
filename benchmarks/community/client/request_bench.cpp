#include "community/client/community_client.h"
#include "tests/community_server/server_process.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

// Requests against an honest server in a process of its own, over loopback: the processor time is all the library's, of
// the threads that ask and of those that work behind them.
namespace brimwarden::analysis::community {
namespace {

struct conversation {
    conversation() : client(ip4(0, 0), address.to_string(tackle::internet::address::numeric_host), 0) {
        client.wait_round_complete();
    }
    ip4 address = community_server::server::fresh_address();
    community_server::server_process peer{address, {}}; // made first, and so before there are threads
    community_client client;
};

std::unique_ptr<conversation> talk;
std::mutex lock;
std::vector<double> latencies; // milliseconds

double at(double share) {
    const auto place = latencies.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(latencies.size()));
    std::nth_element(latencies.begin(), place, latencies.end());
    return *place;
}

// A query and the update that follows it, as a scan makes them.
void query_and_update(benchmark::State& state) {
    const tackle::internet::message2::part message(tackle::string_view("Subject: x\n\nbody\n"));
    std::vector<double> own;
    for (auto _ : state) { // NOLINT: the loop's variable has no use
        scan_context scan(message);
        for (const char16_t* link : {u"com.example/a", u"com.example/b", u"net.example"})
            scan.signatures.emplace_back(u"tru", link);
        community_statistics statistics;
        const auto start = std::chrono::steady_clock::now();
        talk->client.query(scan, statistics, {}, 60'000);
        talk->client.update(scan, statistics, {}, 0);
        own.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    state.SetItemsProcessed(2 * state.iterations());
    const std::lock_guard hold(lock);
    latencies.insert(latencies.end(), own.begin(), own.end());
    if (latencies.size() != static_cast<std::size_t>(state.iterations()) * static_cast<std::size_t>(state.threads()))
        return;
    state.counters["median_ms"] = at(0.5);
    state.counters["p99_ms"] = at(0.99);
}

void set_up(const benchmark::State&) {
    latencies.clear();
    talk = std::make_unique<conversation>();
}
void tear_down(const benchmark::State&) { talk.reset(); }

BENCHMARK(query_and_update)
    ->Setup(set_up)
    ->Teardown(tear_down)
    ->Threads(1)
    ->Threads(8)
    ->Threads(32)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

} // namespace
} // namespace brimwarden::analysis::community
