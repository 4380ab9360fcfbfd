// What is done with the displayed text of a message once it is text: words, folded words, signatures.
#include "analysis/words/content_signatures.h"
#include "analysis/words/token_extraction.h"
#include "benchmarks/corpus.h"
#include "benchmarks/yardstick.h"

#include <functional>
#include <random>

namespace brimwarden::benchmarks {
namespace {

using namespace analysis;
using tackle::string;
using tackle::string_view;
using tackle::wstring;

wstring widened(string_view text) {
    wstring wide;
    for (const char byte : text)
        wide += static_cast<char16_t>(static_cast<std::uint8_t>(byte));
    return wide;
}

// The bodies of the real messages as they stand in the message: near enough to the text that is shown.
const std::vector<string_view>& real_bodies() {
    static const std::vector<string_view> bodies = [] {
        std::vector<string_view> found;
        for (const string_view message : real_messages())
            if (const auto header_end = message.find("\n\n"); header_end != message.npos)
                found.push_back(message.substr(header_end));
        return found;
    }();
    return bodies;
}

void reduce(wstring& text) {
    token_list tokens;
    folded_token_list folded;
    signature_list signatures;
    trace_list trace;
    normalise_text(text);
    tokenise(text, tokens, word_mode);
    fold_tokens(tokens, folded);
    generate_block_signatures(folded, tokens, signatures, trace);
    generate_length_signatures(folded, signatures, trace);
    generate_structure_signatures(folded, signatures, trace);
    benchmark::DoNotOptimize(signatures.data());
}

// Prepares each text with `prepare`, which is not measured, and measures `step`.
template <typename state_of_text>
void measure_step(benchmark::State& state, const std::function<void(state_of_text&)>& prepare,
                  const std::function<void(state_of_text&)>& step) {
    std::vector<state_of_text> texts;
    for (const auto body : real_bodies()) {
        texts.emplace_back();
        texts.back().text = widened(body);
        prepare(texts.back());
    }
    measure(state, real_bodies(), [&] {
        for (auto& text : texts)
            step(text);
    });
}

struct reduced {
    wstring text;
    token_list tokens;
    folded_token_list folded;

    void normalise() { normalise_text(text); }
    void cut() { tokenise(text, tokens, word_mode); }
    void fold() {
        folded = folded_token_list();
        fold_tokens(tokens, folded);
    }
};

void normalise_real(benchmark::State& state) {
    measure_step<reduced>(
        state, [](reduced&) {}, [](reduced& text) { text.normalise(); });
}
BENCHMARK(normalise_real);

void tokenise_real(benchmark::State& state) {
    measure_step<reduced>(
        state, [](reduced& text) { text.normalise(); }, [](reduced& text) { text.cut(); });
}
BENCHMARK(tokenise_real);

void fold_real(benchmark::State& state) {
    measure_step<reduced>(
        state,
        [](reduced& text) {
            text.normalise();
            text.cut();
        },
        [](reduced& text) { text.fold(); });
}
BENCHMARK(fold_real);

void signatures_real(benchmark::State& state, void (*generate)(const reduced&, signature_list&, trace_list&)) {
    measure_step<reduced>(
        state,
        [](reduced& text) {
            text.normalise();
            text.cut();
            text.fold();
        },
        [generate](reduced& text) {
            signature_list signatures;
            trace_list trace;
            generate(text, signatures, trace);
            benchmark::DoNotOptimize(signatures.data());
        });
}
BENCHMARK_CAPTURE(signatures_real, block, [](const reduced& text, signature_list& signatures, trace_list& trace) {
    generate_block_signatures(text.folded, text.tokens, signatures, trace);
});
BENCHMARK_CAPTURE(signatures_real, length, [](const reduced& text, signature_list& signatures, trace_list& trace) {
    generate_length_signatures(text.folded, signatures, trace);
});
BENCHMARK_CAPTURE(signatures_real, structure, [](const reduced& text, signature_list& signatures, trace_list& trace) {
    generate_structure_signatures(text.folded, signatures, trace);
});

void reduce_real(benchmark::State& state) {
    measure_step<reduced>(
        state, [](reduced&) {},
        [](reduced& text) {
            auto copy = text.text;
            reduce(copy);
        });
}
BENCHMARK(reduce_real);

// Texts that are made to be expensive, `size` units long.

wstring one_token(std::size_t size) {
    wstring text;
    for (std::size_t i = 0; i < size; ++i)
        text += static_cast<char16_t>(0x4E00 + i * 7919 % 0x5000);
    return text;
}

wstring one_letter_tokens(std::size_t size) {
    wstring text;
    std::mt19937 random(1);
    while (text.size() < size)
        text += wstring{static_cast<char16_t>('a' + random() % 26), u' '};
    return text;
}

wstring equal_tokens(std::size_t size) {
    wstring text;
    while (text.size() < size)
        text += u"lottery ";
    return text;
}

// Three letters out of a hundred, as a single-byte charset can have them: as many different sets as a text can hold.
wstring different_tokens(std::size_t size) {
    wstring text;
    for (int a = 0; text.size() < size; ++a)
        for (int b = a + 1; b < 100; ++b)
            for (int c = b + 1; c < 100; ++c)
                text += wstring{static_cast<char16_t>(0x410 + a), static_cast<char16_t>(0x410 + b),
                                static_cast<char16_t>(0x410 + c), u' '};
    text.resize(size);
    return text;
}

// Every threshold of the structure signature finds another pattern.
wstring eight_structures(std::size_t size) {
    wstring text;
    for (char16_t word = 0; word < 8; ++word)
        for (char16_t times = 0; times <= word; ++times)
            text += wstring{static_cast<char16_t>(u'A' + word), u'\u4E00', u' '};
    return text + one_letter_tokens(size - text.size());
}

void reduce_made(benchmark::State& state, wstring (*make)(std::size_t)) {
    const auto text = make(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) { // NOLINT
        auto copy = text;
        reduce(copy);
    }
    state.SetComplexityN(state.range(0));
}
#define GROWING Unit(benchmark::kMicrosecond)->RangeMultiplier(4)->Range(16 << 10, 256 << 10)->Complexity(benchmark::oN)
BENCHMARK_CAPTURE(reduce_made, one_token, one_token)->GROWING;
BENCHMARK_CAPTURE(reduce_made, one_letter_tokens, one_letter_tokens)->GROWING;
BENCHMARK_CAPTURE(reduce_made, equal_tokens, equal_tokens)->GROWING;
BENCHMARK_CAPTURE(reduce_made, different_tokens, different_tokens)->GROWING;
BENCHMARK_CAPTURE(reduce_made, eight_structures, eight_structures)->GROWING;

// As many recipients as tokens: none of them twice, or all of them.
void customization(benchmark::State& state, std::size_t times) {
    string headers = "To: ";
    wstring text;
    for (std::size_t i = 0; text.size() < static_cast<std::size_t>(state.range(0)); ++i) {
        const auto name = "n" + std::to_string(i);
        headers += name + "@x,";
        for (std::size_t n = 0; n < times; ++n)
            text += widened(name) + u" ";
    }
    const tackle::internet::message2::part root(string_view(headers + "\r\n\r\n"));
    token_list all;
    tokenise(text, all, word_mode);
    for (auto _ : state) { // NOLINT
        auto tokens = all;
        test_result_list results;
        check_address_customization(root, tokens, results);
        benchmark::DoNotOptimize(tokens.size());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK_CAPTURE(customization, three_found, 1)->GROWING;
BENCHMARK_CAPTURE(customization, none_found, 2)->GROWING;

} // namespace
} // namespace brimwarden::benchmarks
