#include "message/part.h"

#include "benchmarks/corpus.h"
#include "benchmarks/yardstick.h"

namespace brimwarden::benchmarks {
namespace {

using tackle::string;
using tackle::string_view;
using tackle::internet::message2::part;

string repeated(const string& text, std::size_t size) {
    string out;
    out.reserve(size + text.size());
    while (out.size() < size)
        out += text;
    return out;
}

void measure_load(benchmark::State& state, const std::vector<string_view>& pieces) {
    measure(state, pieces, [&] {
        for (const auto piece : pieces)
            benchmark::DoNotOptimize(part(piece));
    });
}

void load_real(benchmark::State& state) { measure_load(state, {real_messages().begin(), real_messages().end()}); }
BENCHMARK(load_real)->Unit(benchmark::kMillisecond);

// One part of each encoding, of a size at which the headers do not count.
void load_plain(benchmark::State& state) {
    const string text = "A: b\r\n\r\n" + repeated("a line of plain text, as long as most of them are\r\n", 1 << 20);
    measure_load(state, {text});
}
BENCHMARK(load_plain);

void load_plain_lf(benchmark::State& state) {
    const string text = "A: b\n\n" + repeated("a line of plain text, as long as most of them are\n", 1 << 20);
    measure_load(state, {text});
}
BENCHMARK(load_plain_lf);

void load_base64(benchmark::State& state) {
    const string text =
        "Content-Transfer-Encoding: base64\r\n\r\n" +
        repeated("TWFueSBoYW5kcyBtYWtlIGxpZ2h0IHdvcmsuIE1hbnkgaGFuZHMgbWFrZSBsaWdodCB3b3JrLi4u\r\n", 1 << 20);
    measure_load(state, {text});
}
BENCHMARK(load_base64);

void load_quoted_printable(benchmark::State& state) {
    const string text =
        "Content-Transfer-Encoding: quoted-printable\r\n\r\n" +
        repeated("a line with some =E9=E8 in it, and a soft line end behind it, like this=\r\n", 1 << 20);
    measure_load(state, {text});
}
BENCHMARK(load_quoted_printable);

void load_uuencoded(benchmark::State& state) {
    const string text = "A: b\r\n\r\nbegin 644 a.bin\r\n" +
                        repeated("M5&AE<F4@87)E('1H<F5E(&MI;F1S(&]F(&QI97,Z(&QI97,L(&1A;6YE9\"!L\r\n", 1 << 20) +
                        "end\r\n";
    measure_load(state, {text});
}
BENCHMARK(load_uuencoded);

// The worst that is known, each at growing sizes: the time has to grow with the size and no faster.

void grow(benchmark::State& state, const string& message) {
    for (auto _ : state)
        benchmark::DoNotOptimize(part(string_view(message)));
    state.SetComplexityN(static_cast<std::int64_t>(message.size()));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(message.size()));
}
std::size_t size_of(const benchmark::State& state) { return static_cast<std::size_t>(state.range(0)); }
void growing(benchmark::internal::Benchmark* bench) {
    bench->RangeMultiplier(8)->Range(1 << 16, 1 << 25)->Complexity(benchmark::oN)->Unit(benchmark::kMillisecond);
}

// Boundaries of one length that differ in their last two bytes, 63 deep.
string deep_head(std::size_t boundary) {
    string head;
    for (int depth = 0; depth < 63; ++depth) {
        const string name =
            string(boundary, '-') + static_cast<char>('A' + depth / 16) + static_cast<char>('A' + depth % 16);
        head += "Content-Type: multipart/mixed; boundary=\"" + name + "\"\n\n--" + name + "\n";
    }
    return head;
}
// The innermost body at depth 63, walked once for each depth by a plain parser.
void load_deep_body(benchmark::State& state) { grow(state, deep_head(20) + "\n" + repeated("text\n", size_of(state))); }
BENCHMARK(load_deep_body)->Apply(growing);

// Lines that look like each of the 63 boundaries up to the last byte.
void load_deep_dashes(benchmark::State& state) {
    grow(state, deep_head(60) + "\n" + repeated("--" + string(60, '-') + "ZZ\n", size_of(state)));
}
BENCHMARK(load_deep_dashes)->Apply(growing);

void load_dash_lines(benchmark::State& state) { grow(state, deep_head(1) + "\n" + repeated("--\n", size_of(state))); }
BENCHMARK(load_dash_lines)->Apply(growing);

void load_line_ends(benchmark::State& state) { grow(state, "A: b\n\n" + string(size_of(state), '\n')); }
BENCHMARK(load_line_ends)->Apply(growing);

void load_one_line(benchmark::State& state) { grow(state, "A: b\n\n" + string(size_of(state), 'a')); }
BENCHMARK(load_one_line)->Apply(growing);

// Each line begins a uuencoded file, and none of them ends.
void load_begin_lines(benchmark::State& state) { grow(state, "A: b\n\n" + repeated("begin 6 a\n", size_of(state))); }
BENCHMARK(load_begin_lines)->Apply(growing);

void load_uuencoded_files(benchmark::State& state) {
    grow(state, "A: b\n\n" + repeated("begin 6 a\nend\n", size_of(state)));
}
BENCHMARK(load_uuencoded_files)->Apply(growing);

void load_tiny_parts(benchmark::State& state) {
    grow(state, "Content-Type: x; boundary=a\n\n" + repeated("--a\n\nb\n", size_of(state)));
}
BENCHMARK(load_tiny_parts)->Apply(growing);

// Parts of which no field can be read, and files whose names can't; nothing of it may cost an exception each.
void load_unreadable_fields(benchmark::State& state) {
    grow(state, "Content-Type: x; boundary=a\n\n" +
                    repeated("--a\nContent-Type: application/octet-stream\nContent-Disposition: =?x?Q?=ZZ?=\n"
                             "Content-Transfer-Encoding: =?shift_jis?Q?=81?=\n\nb\n",
                             size_of(state)));
}
BENCHMARK(load_unreadable_fields)->Apply(growing);

void load_unreadable_file_names(benchmark::State& state) {
    grow(state,
         "Content-Type: text/plain; charset=shift_jis\n\n" + repeated("begin 6 \x81\xFF\nend\n", size_of(state)));
}
BENCHMARK(load_unreadable_file_names)->Apply(growing);

void load_header_lines(benchmark::State& state) { grow(state, repeated("A: b\n", size_of(state))); }
BENCHMARK(load_header_lines)->Apply(growing);

void load_folded_header(benchmark::State& state) { grow(state, "A: b\n" + repeated(" c\n", size_of(state))); }
BENCHMARK(load_folded_header)->Apply(growing);

void load_parameters(benchmark::State& state) { grow(state, "Content-Type: x" + repeated(";a", size_of(state))); }
BENCHMARK(load_parameters)->Apply(growing);

void load_content_types(benchmark::State& state) { grow(state, repeated("Content-Type: a; b=c\n", size_of(state))); }
BENCHMARK(load_content_types)->Apply(growing);

// A base64 body whose line lengths never add up to a multiple of four.
void load_odd_base64(benchmark::State& state) {
    grow(state, "Content-Transfer-Encoding: base64\n\nQ\n" + repeated("QUJD\n", size_of(state)));
}
BENCHMARK(load_odd_base64)->Apply(growing);

} // namespace
} // namespace brimwarden::benchmarks
