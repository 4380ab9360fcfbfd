#include "analysis/links/uri_extraction.h"
#include "benchmarks/yardstick.h"

#include <algorithm>
#include <functional>

namespace brimwarden::benchmarks {
namespace {

using namespace analysis;
using tackle::string;
using tackle::wstring;
using tackle::wstring_view;

wstring repeated(wstring_view piece, std::size_t units) {
    wstring text;
    while (text.size() < units)
        text += piece;
    return text;
}

// Words of letters, all different up to a million.
wstring word(std::size_t number) {
    wstring text;
    for (int i = 0; i < 4; ++i, number /= 26)
        text += static_cast<char16_t>(u'a' + number % 26);
    return text;
}

wstring schemes(std::size_t units) { return repeated(u"http:", units); }
wstring hidden(std::size_t units) { return repeated(u"xhttp:", units); }
wstring hidden_hosts(std::size_t units) { return repeated(u"xwww.", units); }
wstring hidden_paths(std::size_t units) { return repeated(u"x/http://:/", units); }
// The port is taken out, which completes the escape of a slash: the host is empty, and a path in its place.
wstring hidden_in_paths(std::size_t units) { return repeated(u"http:!%2:1f", units); }
wstring hidden_behind_users(std::size_t units) { return repeated(u"xhttp:u@y/", units); }
wstring hidden_ports(std::size_t units) { return repeated(u"xhttp:1", units); }
wstring hidden_before_port(std::size_t units) {
    return repeated(u"xwww.", units / 2) + u":" + wstring(units / 2, u'1');
}
// One more layer comes off with each of them.
wstring hidden_escapes(std::size_t units) {
    return repeated(u"xhttp:", units / 2) + u"%" + repeated(u"25", units / 2) + u"41";
}
wstring hidden_broken_escapes(std::size_t units) { return repeated(u"xhttp:%zz%u12", units); }
wstring escapes(std::size_t units) { return u"http://a.com/" + repeated(u"%41", units); }
wstring unit_escapes(std::size_t units) { return u"http://a.com/" + repeated(u"%u00e9", units); }
wstring byte_escapes(std::size_t units) { return u"http://a.com/" + repeated(u"%c3%ff", units); }
wstring broken_escapes(std::size_t units) { return u"http://a.com/" + repeated(u"%4g%u%%", units); }
wstring query_values(std::size_t units) { return u"http://a.com" + repeated(u"?q=http://b.com&", units); }
wstring words(std::size_t units) {
    wstring text;
    for (std::size_t i = 0; text.size() < units; ++i)
        text += word(i) + u" ";
    return text;
}
wstring unclosed_brackets(std::size_t units) { return repeated(u"(www.a.com [http:b ", units); }
wstring quotes(std::size_t units) { return repeated(u"\"http:b \" ", units); }
wstring addresses(std::size_t units) {
    wstring text;
    for (std::size_t i = 0; text.size() < units; ++i)
        text += u"http://" + word(i) + u".com/x ";
    return text;
}

void scan_text(benchmark::State& state, wstring (*make)(std::size_t units)) {
    const auto text = make(static_cast<std::size_t>(state.range(0)) << 10);
    for (auto _ : state) { // NOLINT: the loop's variable has no use
        uri_list uris;
        scan_text_for_uris(text, uris);
        signature_list signatures;
        uris.move_to(signatures);
        benchmark::DoNotOptimize(signatures.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// Links in the order in which a set has them.
using link_list = std::vector<wstring>;

link_list different(std::size_t units) {
    link_list links;
    for (std::size_t i = 0; i * 14 < units; ++i)
        links.push_back(u"http:" + word(i * 7919) + u".a.com");
    return links;
}
// The longest value first, or last.
link_list falling(std::size_t units) {
    link_list links;
    for (std::size_t i = 0; i * 24 < units; ++i)
        links.push_back(u"http:a.com/" + wstring(24 - i % 24, u'x') + u"/" + word(i / 24));
    return links;
}
// One base in front of all: with addresses hidden in it, or with a query whose values all of them repeat.
link_list behind_base(wstring_view piece, std::size_t units) {
    link_list links;
    const auto base = u"http:x" + repeated(piece, 100);
    for (std::size_t i = 0; i * 28 < units; ++i)
        links.push_back(base + word(i));
    return links;
}
link_list behind_hidden(std::size_t units) { return behind_base(u"a.b.https:", units); }
link_list behind_query(std::size_t units) { return behind_base(u".com%%%01?q=&", units); }
link_list rising(std::size_t units) {
    auto links = falling(units);
    std::ranges::reverse(links);
    return links;
}

void scan_all_links(benchmark::State& state, link_list (*make)(std::size_t units), std::size_t files) {
    string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (std::size_t i = 0; i < files; ++i)
        message += "--b\r\nContent-Type: x/y; name=" + std::to_string(i) + ".gif\r\n\r\n";
    const tackle::internet::message2::part root(message);
    tackle::html::text_set links;
    for (const auto& link : make(static_cast<std::size_t>(state.range(0)) << 10))
        links.insert(link);
    benchmark::DoNotOptimize(links.size()); // sorted once, as the conversion hands them over
    for (auto _ : state) {                  // NOLINT: the loop's variable has no use
        uri_list uris;
        scan_links(root, links, uris);
        signature_list signatures;
        uris.move_to(signatures);
        benchmark::DoNotOptimize(signatures.data());
    }
}

void scan_spoken(benchmark::State& state, wstring_view piece) {
    const auto text = repeated(piece, static_cast<std::size_t>(state.range(0)) << 10);
    token_list tokens;
    tokenise(text, tokens, dot_mode);
    for (auto _ : state) { // NOLINT: the loop's variable has no use
        uri_list uris;
        scan_spoken_uris(tokens, uris);
        signature_list signatures;
        uris.move_to(signatures);
        benchmark::DoNotOptimize(signatures.data());
    }
}

#define BRMX_SIZES Arg(16)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond)
#define BRMX_SCAN_TEXT(input) BENCHMARK_CAPTURE(scan_text, input, input)->BRMX_SIZES

BRMX_SCAN_TEXT(schemes);
BRMX_SCAN_TEXT(hidden);
BRMX_SCAN_TEXT(hidden_hosts);
BRMX_SCAN_TEXT(hidden_paths);
BRMX_SCAN_TEXT(hidden_in_paths);
BRMX_SCAN_TEXT(hidden_behind_users);
BRMX_SCAN_TEXT(hidden_ports);
BRMX_SCAN_TEXT(hidden_before_port);
BRMX_SCAN_TEXT(hidden_escapes);
BRMX_SCAN_TEXT(hidden_broken_escapes);
BRMX_SCAN_TEXT(escapes);
BRMX_SCAN_TEXT(unit_escapes);
BRMX_SCAN_TEXT(byte_escapes);
BRMX_SCAN_TEXT(broken_escapes);
BRMX_SCAN_TEXT(query_values);
BRMX_SCAN_TEXT(words);
BRMX_SCAN_TEXT(unclosed_brackets);
BRMX_SCAN_TEXT(quotes);
BRMX_SCAN_TEXT(addresses);
BENCHMARK_CAPTURE(scan_all_links, different, different, 0)->BRMX_SIZES;
BENCHMARK_CAPTURE(scan_all_links, different_and_files, different, 4000)->BRMX_SIZES;
BENCHMARK_CAPTURE(scan_all_links, falling, falling, 0)->BRMX_SIZES;
BENCHMARK_CAPTURE(scan_all_links, rising, rising, 0)->BRMX_SIZES;
BENCHMARK_CAPTURE(scan_all_links, behind_hidden, behind_hidden, 0)->BRMX_SIZES;
BENCHMARK_CAPTURE(scan_all_links, behind_query, behind_query, 0)->BRMX_SIZES;
BENCHMARK_CAPTURE(scan_spoken, domains, u"com ")->BRMX_SIZES;
BENCHMARK_CAPTURE(scan_spoken, dots, u"com dot dot dot dot ")->BRMX_SIZES;
BENCHMARK_CAPTURE(scan_spoken, addresses, u"www dot a dot com ")->BRMX_SIZES;

} // namespace
} // namespace brimwarden::benchmarks
