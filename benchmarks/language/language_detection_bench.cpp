// Construction, memory and speed of the language detection, and the speed of another detector on the same texts in the
// same run where its library is installed.
#include "foundation/text/unicode.h"
#include "language/plugins/ankiro.h"

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <memory>
#ifdef BRMX_COMPARE_CLD2
#include <cld2/public/compact_lang_det.h>
#endif

namespace {

using namespace brimwarden::language;
using tackle::string;
using tackle::wstring;

std::size_t bytes_in_use() {
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd; // large blocks are mapped one by one
}

const plugins::ankiro::plugin& plugin() {
    static const plugins::ankiro::plugin made;
    return made;
}

void construction(benchmark::State& state) {
    plugin(); // whatever else is made once in a process is not counted
    std::size_t memory = 0;
    for (auto _ : state) {
        const std::size_t before = bytes_in_use();
        const auto made = std::make_unique<plugins::ankiro::plugin>();
        memory = bytes_in_use() - before;
    }
    state.counters["memory_MB"] = static_cast<double>(memory) / 1e6;
}
BENCHMARK(construction)->Unit(benchmark::kMillisecond);

const struct {
    const char* name;
    const char* text;
} texts[] = {
    {"english",
     "The parcel that you ordered last week has arrived at our office. Please let us know when somebody will be "
     "at home, so that the driver does not have to come twice. "},
    {"german",
     "Das Paket, das Sie vorige Woche bestellt haben, ist in unserem Büro angekommen. Bitte sagen Sie uns, wann "
     "jemand zu Hause ist, damit der Fahrer nicht zweimal kommen muss. "},
    {"polish",
     "Paczka, którą zamówili Państwo w zeszłym tygodniu, dotarła do naszego biura. Prosimy o informację, kiedy "
     "ktoś będzie w domu, żeby kierowca nie musiał przyjeżdżać dwa razy. "},
    {"vietnamese",
     "Gói hàng mà bạn đã đặt tuần trước đã đến văn phòng của chúng tôi. Xin cho chúng tôi biết khi nào có người ở "
     "nhà để tài xế không phải đến hai lần. "},
    {"russian", "Посылка, которую вы заказали на прошлой неделе, прибыла в наш офис. Сообщите нам, пожалуйста, когда "
                "кто-нибудь будет дома, чтобы водителю не пришлось приезжать дважды. "},
    {"chinese", "您上周订购的包裹已经到达我们的办公室。请告诉我们什么时候有人在家，这样司机就不用来两次了。"},
};

// The text of state.range(0), repeated to about state.range(1) bytes.
string text_for(benchmark::State& state) {
    const auto& chosen = texts[state.range(0)];
    state.SetLabel(chosen.name);
    string text;
    while (text.size() < static_cast<std::size_t>(state.range(1)))
        text += chosen.text;
    return text;
}

void finish(benchmark::State& state, const string& text) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void detection(benchmark::State& state) {
    const string text = text_for(state);
    const wstring wide = tackle::unicode::to_wide(text, 65001);
    for (auto _ : state) {
        result_map results;
        std::uint64_t target = 0;
        brimwarden::analysis::trace_list trace;
        plugin().detect(wide, results, target, trace);
        benchmark::DoNotOptimize(target);
    }
    finish(state, text);
}

// The other detector takes bytes, so here our conversion counts too.
void detection_from_utf8(benchmark::State& state) {
    const string text = text_for(state);
    for (auto _ : state) {
        result_map results;
        std::uint64_t target = 0;
        brimwarden::analysis::trace_list trace;
        plugin().detect(tackle::unicode::to_wide(text, 65001), results, target, trace);
        benchmark::DoNotOptimize(target);
    }
    finish(state, text);
}

void each_text(benchmark::internal::Benchmark* one) {
    for (int text = 0; text < static_cast<int>(std::size(texts)); ++text)
        for (const int size : {1000, 20000})
            one->Args({text, size});
}
BENCHMARK(detection)->Apply(each_text);
BENCHMARK(detection_from_utf8)->Apply(each_text);

#ifdef BRMX_COMPARE_CLD2
void libcld2(benchmark::State& state) {
    const string text = text_for(state);
    for (auto _ : state) {
        bool reliable = false;
        benchmark::DoNotOptimize(CLD2::DetectLanguage(text.data(), static_cast<int>(text.size()), true, &reliable));
    }
    finish(state, text);
}
BENCHMARK(libcld2)->Apply(each_text);
#endif

// Words that are all different miss all caches; the cost of a letter has to stay the same as the text grows.
void all_different_words(benchmark::State& state) {
    wstring text;
    for (std::uint32_t word = 1; text.size() < static_cast<std::size_t>(state.range(0)); ++word) {
        for (std::uint32_t rest = word * 0x9E3779B1; rest != 0; rest /= 26)
            text += static_cast<char16_t>(u'a' + rest % 26);
        text += u' ';
    }
    for (auto _ : state) {
        result_map results;
        std::uint64_t target = 0;
        brimwarden::analysis::trace_list trace;
        plugin().detect(text, results, target, trace);
        benchmark::DoNotOptimize(target);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(all_different_words)->RangeMultiplier(8)->Range(1 << 10, 1 << 22)->Complexity(benchmark::oN);

} // namespace
