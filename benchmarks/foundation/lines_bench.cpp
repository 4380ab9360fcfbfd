#include "foundation/text/format.h"
#include "foundation/text/line_scanner.h"

#include "benchmarks/yardstick.h"

namespace brimwarden::benchmarks {
namespace {

using tackle::string;
using tackle::string_view;

void scan_lines(benchmark::State& state, string_view line) {
    string text;
    while (text.size() + line.size() <= 1 << 20)
        text += line;
    measure(state, {text}, [&] {
        tackle::line_scanner scanner(text);
        std::size_t count = 0;
        for (string_view found; scanner.next(found);)
            count += found.size();
        benchmark::DoNotOptimize(count);
    });
}
BENCHMARK_CAPTURE(scan_lines, base64,
                  "VGhlIHF1aWNrIGJyb3duIGZveCBqdW1wcyBvdmVyIHRoZSBsYXp5IGRvZywgYW5kIG92ZXIgdGhl\r\n");
BENCHMARK_CAPTURE(scan_lines, short_lines, "a line of text\r\n");
BENCHMARK_CAPTURE(scan_lines, nothing_but_ends, "\n");

// A text with line ends of one kind only, where a search for the other kind would run to the end each time.
void scan_one_kind_of_end(benchmark::State& state) {
    string text;
    while (text.size() < static_cast<std::size_t>(state.range(0)))
        text += "x\n";
    for (auto _ : state) {
        tackle::line_scanner scanner(text);
        for (string_view found; scanner.next(found);)
            benchmark::DoNotOptimize(found);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(scan_one_kind_of_end)->RangeMultiplier(8)->Range(1 << 10, 1 << 22)->Complexity(benchmark::oN);

void format_trace_line(benchmark::State& state) {
    const tackle::wstring name = u"Part.Text.Too_Large";
    for (auto _ : state)
        benchmark::DoNotOptimize(tackle::format(u"%-6.2f %s -- %s", 12.5, name, u"Bytes: 4711"));
}
BENCHMARK(format_trace_line);

} // namespace
} // namespace brimwarden::benchmarks
