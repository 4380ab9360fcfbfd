#include "benchmarks/corpus.h"
#include "benchmarks/yardstick.h"
#include "engine/brmx.h"

namespace {

using tackle::string;
using tackle::string_view;

// A message's whole life, as a client leads it.
void scan(string_view message) {
    std::uint32_t handle = 0;
    std::int32_t probability = 0;
    BRMX_Session_CreateFromMemory(message.data(), static_cast<std::uint32_t>(message.size()), &handle);
    BRMX_Spam_GetProbability(handle, 0, &probability);
    BRMX_Session_Destroy(handle);
    benchmark::DoNotOptimize(probability);
}

void scan_real_messages(benchmark::State& state) {
    BRMX_Engine_Initialize();
    const auto& messages = brimwarden::benchmarks::real_messages();
    const std::vector<string_view> pieces(messages.begin(), messages.end());
    brimwarden::benchmarks::measure(state, pieces, [&] {
        for (const auto message : pieces)
            scan(message);
    });
}
BENCHMARK(scan_real_messages)->Unit(benchmark::kMillisecond);

// The least that a part can cost a sender, and a line of the trace each.
void scan_many_parts(benchmark::State& state) {
    BRMX_Engine_Initialize();
    string message = "Content-Type: multipart/mixed; boundary=b\n\n";
    for (std::int64_t part = 0; part < state.range(0); ++part)
        message += "--b\n\nx\n";
    for (auto _ : state)
        scan(message);
    state.SetComplexityN(state.range(0));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(message.size()));
}
BENCHMARK(scan_many_parts)->RangeMultiplier(8)->Range(1 << 11, 1 << 20)->Complexity(benchmark::oN);

} // namespace
