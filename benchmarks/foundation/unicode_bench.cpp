#include "foundation/unicode.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <vector>

namespace tackle::unicode {
namespace {

constexpr std::size_t size = 1 << 20;

string repeated(string_view piece) {
    string text;
    while (text.size() + piece.size() <= size)
        text += piece;
    return text;
}

const string_view english = "The quick brown fox jumps over the lazy dog, and over the fence too. ";
const string_view french = "D\xC3\xA9j\xC3\xA0 vu, \xC3\xA7\x61 va mieux qu'hier. ";
const string_view russian = "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82, \xD0\xBC\xD0\xB8\xD1\x80! ";

void widen_text(benchmark::State& state, string_view piece, std::uint32_t code_page) {
    const string text = repeated(piece);
    for (auto _ : state)
        benchmark::DoNotOptimize(to_wide(text, code_page));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK_CAPTURE(widen_text, raw, english, raw_code_page);
BENCHMARK_CAPTURE(widen_text, western, "D\xE9j\xE0 vu, \xE7\x61 va mieux qu'hier. ", 1252);
BENCHMARK_CAPTURE(widen_text, japanese, "\x93\xFA\x96\x7B\x8C\xEA text ", 932);
BENCHMARK_CAPTURE(widen_text, utf8_english, english, 65001);
BENCHMARK_CAPTURE(widen_text, utf8_french, french, 65001);
BENCHMARK_CAPTURE(widen_text, utf8_russian, russian, 65001);
BENCHMARK_CAPTURE(widen_text, utf8_broken, "\xF0\x9F\xC3", 65001);

void narrow_text(benchmark::State& state, std::uint32_t code_page) {
    const wstring text = to_wide(repeated(french), 65001);
    for (auto _ : state)
        benchmark::DoNotOptimize(to_narrow(text, code_page, true));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size() * 2));
}
BENCHMARK_CAPTURE(narrow_text, raw, raw_code_page);
BENCHMARK_CAPTURE(narrow_text, western, 1252);
BENCHMARK_CAPTURE(narrow_text, utf8, 65001);

// The yardstick: the same bytes, copied.
void copy_bytes(benchmark::State& state) {
    const string text = repeated(english);
    std::vector<char> copy(text.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), text.data(), text.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(copy_bytes);

void charset_name(benchmark::State& state, string_view name) {
    for (auto _ : state)
        benchmark::DoNotOptimize(code_page_of(name));
}
BENCHMARK_CAPTURE(charset_name, alias, "UTF-8");
BENCHMARK_CAPTURE(charset_name, numbered, "iso-8859-15");
BENCHMARK_CAPTURE(charset_name, unknown, "x-unknown");

} // namespace
} // namespace tackle::unicode
