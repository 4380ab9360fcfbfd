#include "message/part.h"

#include <benchmark/benchmark.h>

// Rendering of the worst messages that are known, at growing sizes: the time has to grow with the size and no faster.
namespace brimwarden::benchmarks {
namespace {

using tackle::string;
using tackle::string_view;
using tackle::internet::message2::part;

string repeated(std::size_t size, string_view piece) {
    string out;
    while (out.size() < size)
        out += piece;
    return out;
}

struct hostile {
    const char* label;
    string (*message)(std::size_t half); // of twice that size
};

const hostile messages[] = {
    {"one_boundary_for_many_fields",
     [](std::size_t half) {
         return repeated(half, "Content-Type:\n") + "Content-Type:x;boundary=" + string(half, 'b');
     }},
    {"one_boundary_that_fits_no_other_field",
     [](std::size_t half) {
         return repeated(half, "Content-Type:\n") + "Content-Type:x;boundary=\"=?utf-8?Q?" +
                repeated(half, "=E2=82=AC") + "?=\"";
     }},
    {"one_charset_for_many_words",
     [](std::size_t half) {
         return "Content-Type:x;a=\"=?" + string(half, 'x') + "?Q?=E9?=\"" + repeated(half, ";b=\xE9");
     }},
    {"parameters_that_fit_no_charset",
     [](std::size_t half) {
         return "Content-Type:x" + repeated(2 * half, ";a=\"=?utf-8?Q?=E2=82=AC?= =?iso-8859-1?Q?x?=\"");
     }},
    {"empty_files", [](std::size_t half) { return "\n" + repeated(2 * half, "begin  \nend\n"); }},
    {"empty_parts",
     [](std::size_t half) { return "Content-Type:multipart/x;boundary=a\n\n" + repeated(2 * half, "--a\n"); }},
};

void render(benchmark::State& state, const hostile& h) {
    const part root{string_view(h.message(static_cast<std::size_t>(state.range(0)) / 2))};
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
