#include "foundation/coding/coding.h"

#include "benchmarks/corpus.h"
#include "benchmarks/yardstick.h"

namespace brimwarden::benchmarks {
namespace {

using tackle::string;
using tackle::string_view;
namespace translate = tackle::coding::translate;

// A body as it travels: `text` in lines of `width` characters.
string in_lines(string_view text, std::size_t width) {
    string lines;
    for (std::size_t at = 0; at < text.size(); at += width) {
        lines += text.substr(at, width);
        lines += "\r\n";
    }
    return lines;
}

// Real text of the size of an attachment.
string real_text() {
    string text;
    for (const auto& message : real_messages())
        if (text.size() < 200'000) text += message;
    return text;
}

void base64_decode_lines(benchmark::State& state) {
    const auto body = in_lines(translate::base64_encode(real_text(), true), 76);
    measure(state, {body}, [&] { benchmark::DoNotOptimize(translate::base64_decode(body, false)); });
}
BENCHMARK(base64_decode_lines);

// No four digits stand in a row, so that nothing goes the short way.
void base64_decode_scattered(benchmark::State& state) {
    const auto body = in_lines(translate::base64_encode(real_text(), true), 3);
    measure(state, {body}, [&] { benchmark::DoNotOptimize(translate::base64_decode(body, false)); });
}
BENCHMARK(base64_decode_scattered);

void uu_decode(benchmark::State& state) {
    const auto body = translate::uu_encode(real_text());
    measure(state, {body}, [&] { benchmark::DoNotOptimize(translate::uu_decode(body, true)); });
}
BENCHMARK(uu_decode);

void quoted_printable(benchmark::State& state, const string& body) {
    measure(state, {body}, [&] {
        string out;
        translate::quoted_printable_decode(body, out, false);
        benchmark::DoNotOptimize(out);
    });
}

// Line ends are escaped here, so a line has an escape or two as it mostly has in real mail.
void quoted_printable_decode_text(benchmark::State& state) {
    quoted_printable(state, translate::quoted_printable_encode(real_text()));
}
BENCHMARK(quoted_printable_decode_text);

// A text in another script than the Latin one: nothing but escapes.
void quoted_printable_decode_escapes(benchmark::State& state) {
    quoted_printable(state, translate::quoted_printable_encode(string(1 << 20, '\xD0')));
}
BENCHMARK(quoted_printable_decode_escapes);

// Every byte claims to start an escape.
void quoted_printable_decode_broken(benchmark::State& state) { quoted_printable(state, string(1 << 20, '=')); }
BENCHMARK(quoted_printable_decode_broken);

} // namespace
} // namespace brimwarden::benchmarks
