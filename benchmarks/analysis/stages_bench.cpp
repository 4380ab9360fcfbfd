#include "analysis/analysis_engine.h"
#include "benchmarks/corpus.h"
#include "view/logical_root.h"

#include <benchmark/benchmark.h>

#include <ctime>
#include <list>

namespace {

using namespace brimwarden::analysis;
using tackle::internet::message2::part;

// Where the time of a scan of real mail goes: the share of each stage in percent, and its microseconds a message.
void stages(benchmark::State& state) {
    const auto& messages = brimwarden::benchmarks::real_messages();
    if (messages.empty()) {
        state.SkipWithError("nothing to measure on; see benchmarks/get_corpus.sh");
        return;
    }
    const char* const names[] = {"load", "attachments", "header", "text", "list_and_score"};
    double seconds[std::size(names)] = {};
    const auto timed = [&](std::size_t stage, const auto& body) {
        const auto start = std::clock();
        body();
        seconds[stage] += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    };
    for (auto _ : state) {
        // Stage by stage over all messages: the clock is too coarse for one.
        std::list<part> roots;
        timed(0, [&] {
            for (const auto& message : messages)
                roots.emplace_back(tackle::string_view(message));
        });
        std::list<scan_context> scans;
        for (const auto& root : roots)
            scans.emplace_back(root);
        const auto generate = [](auto& plugin, scan_context& scan) {
            plugin.generate(logical_root(*scan.message), scan.signatures, scan.test_results, scan.trace);
        };
        timed(1, [&] {
            for (auto& scan : scans)
                generate(scan.attachment_plugin, scan);
        });
        timed(2, [&] {
            for (auto& scan : scans)
                generate(scan.header_plugin, scan);
        });
        timed(3, [&] {
            for (auto& scan : scans)
                generate(scan.text_plugin, scan);
        });
        timed(4, [&] {
            for (auto& scan : scans)
                analysis_engine::classify(scan);
        });
    }
    double all = 0;
    for (const double stage : seconds)
        all += stage;
    const auto made = static_cast<double>(state.iterations()) * static_cast<double>(messages.size());
    for (std::size_t i = 0; i < std::size(names); ++i) {
        state.counters[std::string(names[i]) + "_percent"] = 100 * seconds[i] / all;
        state.counters[std::string(names[i]) + "_us"] = 1e6 * seconds[i] / made;
    }
}
BENCHMARK(stages)->Unit(benchmark::kMillisecond);

} // namespace
