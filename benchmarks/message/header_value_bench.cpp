#include "message/header_type/addresses_value_type.h"
#include "message/header_type/parametized_value_type.h"
#include "message/part.h"

#include "benchmarks/corpus.h"
#include "benchmarks/yardstick.h"

#include <deque>
#include <memory>

namespace brimwarden::benchmarks {
namespace {

using namespace tackle::internet::message2;
using namespace tackle::internet::message2::header_type;
using tackle::string;
using tackle::string_view;

// The fields of one name in real mail; the yardsticks hash their bytes.
template <typename value_type>
void measure_field(benchmark::State& state, string_view name) {
    static std::deque<part> parts;
    if (parts.empty())
        for (const auto& message : real_messages())
            parts.emplace_back(string_view(message));
    std::vector<string> values;
    for (const part& message : parts) {
        string raw;
        if (message.get_header(name, raw) && !raw.empty()) values.push_back(raw);
    }
    measure(state, {values.begin(), values.end()}, [&] {
        for (const string& raw : values) {
            value_type value;
            try {
                value.parse(raw);
            } catch (const tackle::exception&) { // some are damaged
            }
            benchmark::DoNotOptimize(value);
        }
    });
}
void real_subject(benchmark::State& state) { measure_field<unstructured_value_type>(state, "Subject"); }
BENCHMARK(real_subject)->Unit(benchmark::kMillisecond);
void real_from(benchmark::State& state) { measure_field<addresses_value_type>(state, "From"); }
BENCHMARK(real_from)->Unit(benchmark::kMillisecond);
void real_content_type(benchmark::State& state) { measure_field<parametized_value_type>(state, "Content-Type"); }
BENCHMARK(real_content_type)->Unit(benchmark::kMillisecond);

// The worst that is known, at growing sizes.
template <typename value_type>
void grow(benchmark::State& state, const string& head, const string& repeated) {
    string raw = head;
    while (raw.size() < static_cast<std::size_t>(state.range(0)))
        raw += repeated;
    for (auto _ : state) {
        value_type value;
        value.parse(raw);
        benchmark::DoNotOptimize(value);
    }
    state.SetComplexityN(state.range(0));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(raw.size()));
}
void growing(benchmark::internal::Benchmark* bench) {
    bench->RangeMultiplier(8)->Range(1 << 13, 1 << 22)->Complexity(benchmark::oN)->Unit(benchmark::kMillisecond);
}

// An encoded word that opens and never closes: each byte has to ask whether the word ends here.
void unclosed_word(benchmark::State& state) { grow<parametized_value_type>(state, "=?", "a=b?"); }
BENCHMARK(unclosed_word)->Apply(growing);
void blanks_between_words(benchmark::State& state) { grow<unstructured_value_type>(state, "=?a?Q?b?=", " "); }
BENCHMARK(blanks_between_words)->Apply(growing);
void many_words(benchmark::State& state) { grow<unstructured_value_type>(state, "", "=?a?Q?b?= "); }
BENCHMARK(many_words)->Apply(growing);
// One long charset name, and then words that are read with it.
void words_in_long_charset(benchmark::State& state) {
    const string name(static_cast<std::size_t>(state.range(0)) / 2, 'x');
    grow<unstructured_value_type>(state, "=?" + name + "?Q?a?= ", "\xE9 ");
}
BENCHMARK(words_in_long_charset)->Apply(growing);
void many_parameters(benchmark::State& state) { grow<parametized_value_type>(state, "a", ";b=c"); }
BENCHMARK(many_parameters)->Apply(growing);
void empty_parameters(benchmark::State& state) { grow<parametized_value_type>(state, "a", ";"); }
BENCHMARK(empty_parameters)->Apply(growing);
void one_long_parameter(benchmark::State& state) { grow<parametized_value_type>(state, "a;b=\"", "=;"); }
BENCHMARK(one_long_parameter)->Apply(growing);
void many_addresses(benchmark::State& state) { grow<addresses_value_type>(state, "", "a<b>,"); }
BENCHMARK(many_addresses)->Apply(growing);
void many_brackets(benchmark::State& state) { grow<addresses_value_type>(state, "", "<"); }
BENCHMARK(many_brackets)->Apply(growing);

} // namespace
} // namespace brimwarden::benchmarks
