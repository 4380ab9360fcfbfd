#include "message/part.h"

#include <benchmark/benchmark.h>

// Messages attached to each other as .eml files, `depth` deep: the time has to grow with the size and no faster,
// whatever the depth. A benchmark's name says megabytes and depth.
namespace brimwarden::benchmarks {
namespace {

using tackle::string;
using tackle::string_view;
using tackle::internet::message2::part;

struct chain {
    const char* label;
    const char* encoding;  // of each link
    bool has_boundaries;   // each link has one of its own
    const char* body_line; // repeated to the size
};

const chain chains[] = {
    {"plain", "", false, "text\n"},
    {"boundaries", "", true, "text\n"},
    {"boundaries_in_dashes", "", true, "--x\n"},
    {"quoted_printable", "quoted-printable", true, "text\n"},
    {"damaged_escapes", "quoted-printable", false, "a line with =ZZ in it\n"},
    {"damaged_escapes_in_dashes", "quoted-printable", true, "--x=ZZ\n"},
    // An escape that is one again after each decoding: every link has to be decoded.
    {"escapes_of_escapes", "quoted-printable", true, "text\n"},
    {"escapes_of_escapes_in_dashes", "quoted-printable", true, "--x\n"},
    {"escapes_of_escapes_and_damaged_ones", "quoted-printable", true, "=Z\n"},
};

void load_chain(benchmark::State& state, const chain& c) {
    const auto size = static_cast<std::size_t>(state.range(0)) << 20;
    const auto depth = static_cast<int>(state.range(1));
    string message;
    message.reserve(size + 64);
    for (int link = 0; link < depth; ++link) {
        message += "Content-Type: application/octet-stream; name=a.eml";
        if (c.has_boundaries) message += "; boundary=x" + std::to_string(link);
        message += "\n";
        if (*c.encoding != '\0') message += string("Content-Transfer-Encoding: ") + c.encoding + "\n";
        message += "\n";
    }
    message += "\n";
    while (message.size() < size)
        message += c.body_line;
    if (string_view(c.label).starts_with("escapes_of_escapes")) {
        message += "=";
        for (int link = 0; link < depth; ++link)
            message += "3D";
        message += "\n";
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(part(string_view(message)));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(message.size()));
}

const bool registered = [] {
    for (const chain& c : chains) {
        benchmark::RegisterBenchmark((string("load_chain/") + c.label).c_str(), load_chain, c)
            ->ArgsProduct({{1, 5, 10}, {8, 16, 32, 64}})
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

} // namespace
} // namespace brimwarden::benchmarks
