#include "benchmarks/corpus.h"
#include "benchmarks/yardstick.h"
#include "include/brmx.h"

#include <string>
#include <vector>

namespace {

using tackle::string;
using tackle::string_view;

// A message's whole life, as a client leads it.
void scan(string_view message) {
    std::uint32_t handle = 0;
    std::int32_t probability = 0;
    BRMX_Session_CreateFromMemory(message.data(), static_cast<std::uint32_t>(message.size()), &handle);
    BRMX_Spam_GetProbability(handle, 0, &probability);
    BRMX_Session_Destroy(handle);
    benchmark::DoNotOptimize(probability);
}

void measure_scans(benchmark::State& state, const std::vector<string_view>& messages) {
    BRMX_Engine_Initialize();
    brimwarden::benchmarks::measure(state, messages, [&] {
        for (const auto message : messages)
            scan(message);
    });
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(messages.size())); // messages a second
}

void scan_real_messages(benchmark::State& state) {
    const auto& messages = brimwarden::benchmarks::real_messages();
    measure_scans(state, {messages.begin(), messages.end()});
}
BENCHMARK(scan_real_messages)->Unit(benchmark::kMillisecond);

// Different sessions on different cores: twice the messages a second, or something is shared that should not be.
void scan_real_messages_in_threads(benchmark::State& state) {
    BRMX_Engine_Initialize();
    const auto& messages = brimwarden::benchmarks::real_messages();
    for (auto _ : state) {
        for (const auto& message : messages)
            scan(message);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(messages.size()));
}
BENCHMARK(scan_real_messages_in_threads)->Threads(1)->Threads(2)->UseRealTime()->Unit(benchmark::kMillisecond);

const string head = "From: \"A\" <a@sender.example>\r\nTo: b@receiver.example\r\nSubject: measured\r\n"
                    "Message-ID: <1@sender.example>\r\n";

// As long as a part may be that is looked into.
void scan_large_html(benchmark::State& state) {
    string message = head + "Content-Type: text/html; charset=utf-8\r\n\r\n<html><body>\r\n";
    for (unsigned i = 0; message.size() < 250 * 1024; ++i) {
        const auto number = std::to_string(i * 2654435761U % 5000);
        message += "<p class=\"x\">word" + number +
                   " offers <b>more&nbsp;for less</b> every day, see <a href=\"http://www" + number +
                   ".example.com/page" + number + "?id=7\">this page</a> and tell friends.\r\n";
    }
    measure_scans(state, {message});
}
BENCHMARK(scan_large_html)->Unit(benchmark::kMillisecond);

void scan_large_attachment(benchmark::State& state) {
    string message = head +
                     "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain\r\n\r\n"
                     "The file you asked for is attached.\r\n--b\r\nContent-Type: application/pdf; name=a.pdf\r\n"
                     "Content-Transfer-Encoding: base64\r\n\r\n";
    const string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::uint32_t random = 1;
    while (message.size() < 10U * 1024 * 1024) {
        for (int i = 0; i < 76; ++i)
            message += digits[(random = random * 1664525U + 1013904223U) >> 26];
        message += "\r\n";
    }
    message += "--b--\r\n";
    measure_scans(state, {message});
}
BENCHMARK(scan_large_attachment)->Unit(benchmark::kMillisecond);

void scan_thousand_parts(benchmark::State& state) {
    string message = head + "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < 1000; ++i) {
        message +=
            "--b\r\nContent-Type: image/gif; name=\"" + std::to_string(i) +
            ".gif\"\r\n"
            "Content-Transfer-Encoding: base64\r\n\r\nR0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7\r\n";
    }
    measure_scans(state, {message});
}
BENCHMARK(scan_thousand_parts)->Unit(benchmark::kMillisecond);

// The least that a part can cost a sender, and a line of the trace each.
void scan_many_parts(benchmark::State& state) {
    BRMX_Engine_Initialize();
    string message = "Content-Type: multipart/mixed; boundary=b\n\n";
    for (std::int64_t part = 0; part < state.range(0); ++part)
        message += "--b\n\nx\n";
    for (auto _ : state)
        scan(message);
    state.SetComplexityN(state.range(0));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(message.size()));
}
BENCHMARK(scan_many_parts)->RangeMultiplier(8)->Range(1 << 11, 1 << 20)->Complexity(benchmark::oN);

} // namespace
