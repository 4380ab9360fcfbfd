#include "message/part.h"

#include <benchmark/benchmark.h>

// Rendering of the worst messages that are known, at growing sizes: the time has to grow with the size and no faster.
namespace brimwarden::benchmarks {
namespace {

using tackle::string;
using tackle::string_view;
using tackle::internet::message2::part;

struct hostile {
    const char* label;
    const char* head;
    char filler;       // half of the message
    const char* after; // the filler
    const char* piece; // the other half
};

const hostile messages[] = {
    {"one_boundary_for_many_fields", "Content-Type:x;boundary=", 'b', "\n", "Content-Type:\n"},
    {"one_charset_for_many_words", "Content-Type:x;a=\"=?", 'x', "?Q?=E9?=\"", ";b=\xE9"},
    {"parameters_that_fit_no_charset", "Content-Type:x;c=", 'c', "", ";a=\"=?utf-8?Q?=E2=82=AC?= =?iso-8859-1?Q?x?=\""},
    {"empty_files", "A:", 'a', "\n\n", "begin  \nend\n"},
    {"empty_parts", "Content-Type:x;boundary=a;c=", 'c', "\n\n", "--a\n"},
};

void render(benchmark::State& state, const hostile& h) {
    const auto half = static_cast<std::size_t>(state.range(0)) / 2;
    string message = h.head + string(half, h.filler) + h.after;
    while (message.size() < 2 * half)
        message += h.piece;
    const part root{string_view(message)};
    for (auto _ : state)
        benchmark::DoNotOptimize(root.render_text());
    state.SetComplexityN(state.range(0));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

const bool registered = [] {
    for (const hostile& h : messages)
        benchmark::RegisterBenchmark((string("render/") + h.label).c_str(), render, h)
            ->RangeMultiplier(4)
            ->Range(1 << 16, 1 << 22)
            ->Complexity(benchmark::oN)
            ->Unit(benchmark::kMillisecond);
    return true;
}();

} // namespace
} // namespace brimwarden::benchmarks
