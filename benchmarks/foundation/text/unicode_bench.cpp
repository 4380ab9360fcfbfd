#include "foundation/text/unicode.h"

#include "benchmarks/yardstick.h"

namespace brimwarden::benchmarks {
namespace {

using tackle::string;
using tackle::string_view;
using namespace tackle::unicode;

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
    measure(state, {text}, [&] { benchmark::DoNotOptimize(to_wide(text, code_page)); });
}
BENCHMARK_CAPTURE(widen_text, raw, english, raw_code_page);
BENCHMARK_CAPTURE(widen_text, western, "D\xE9j\xE0 vu, \xE7\x61 va mieux qu'hier. ", 1252);
BENCHMARK_CAPTURE(widen_text, japanese, "\x93\xFA\x96\x7B\x8C\xEA text ", 932);
BENCHMARK_CAPTURE(widen_text, utf8_english, english, 65001);
BENCHMARK_CAPTURE(widen_text, utf8_french, french, 65001);
BENCHMARK_CAPTURE(widen_text, utf8_russian, russian, 65001);
BENCHMARK_CAPTURE(widen_text, utf8_broken, "\xF0\x9F\xC3", 65001);

void narrow_text(benchmark::State& state, std::uint32_t code_page) {
    const string text = repeated(french);
    const tackle::wstring wide = to_wide(text, 65001);
    measure(state, {text}, [&] { benchmark::DoNotOptimize(to_narrow(wide, code_page, true)); });
}
BENCHMARK_CAPTURE(narrow_text, raw, raw_code_page);
BENCHMARK_CAPTURE(narrow_text, western, 1252);
BENCHMARK_CAPTURE(narrow_text, utf8, 65001);

void charset_name(benchmark::State& state, string_view name) {
    for (auto _ : state)
        benchmark::DoNotOptimize(code_page_of(name));
}
BENCHMARK_CAPTURE(charset_name, alias, "UTF-8");
BENCHMARK_CAPTURE(charset_name, numbered, "iso-8859-15");
BENCHMARK_CAPTURE(charset_name, unknown, "x-unknown");

} // namespace
} // namespace brimwarden::benchmarks
