#pragma once

#include "foundation/text/text.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

// Figures that can be compared between machines: the time of a thing as a multiple of hashing and of copying the same
// bytes, both measured in the same run. Time is processor time, so that a neighbour's load does not spoil the ratio.
namespace brimwarden::benchmarks {

// Seconds of processor time for all pieces once.
struct yardstick {
    double hashing; // our own MD5
    double copying; // into a buffer that is at hand
};

// Hashes and copies each piece by itself, over and over for some 50 ms each, and gives the fastest round.
[[nodiscard]] yardstick measure_yardstick(const std::vector<tackle::string_view>& pieces);

// The number of allocations that this process has made; counted by a replaced operator new.
[[nodiscard]] std::uint64_t allocations() noexcept;

// Runs `body`, which works once on all `pieces`, as the loop of a benchmark, and reports beside its speed in bytes
//   x_md5, x_memcpy    its time as a multiple of the yardsticks
//   x_bound            its time as a multiple of one MD5 and two copies, the design bound of a scan
//   allocations        a piece
// Without pieces, as without a corpus, the benchmark reports an error.
template <typename work>
void measure(benchmark::State& state, const std::vector<tackle::string_view>& pieces, const work& body) {
    std::size_t bytes = 0;
    for (const auto piece : pieces)
        bytes += piece.size();
    if (bytes == 0) {
        state.SkipWithError("nothing to measure on; see benchmarks/get_corpus.sh");
        return;
    }
    const auto before = measure_yardstick(pieces);
    const auto allocated = allocations();
    const auto start = std::clock();
    for (auto _ : state) // NOLINT: the loop's variable has no use
        body();
    const auto rounds = static_cast<double>(state.iterations());
    const auto seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC / rounds;
    const auto made = static_cast<double>(allocations() - allocated);
    const auto after = measure_yardstick(pieces);
    const auto hashing = std::min(before.hashing, after.hashing);
    const auto copying = std::min(before.copying, after.copying);
    state.counters["x_md5"] = seconds / hashing;
    state.counters["x_memcpy"] = seconds / copying;
    state.counters["x_bound"] = seconds / (hashing + 2 * copying);
    state.counters["allocations"] = made / rounds / static_cast<double>(pieces.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
}

} // namespace brimwarden::benchmarks
