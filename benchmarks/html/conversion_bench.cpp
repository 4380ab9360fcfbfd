#include "benchmarks/yardstick.h"
#include "html/convert_to_text.h"

namespace brimwarden::benchmarks {
namespace {

using tackle::wstring;
using tackle::wstring_view;

wstring repeated(wstring_view piece, std::size_t units) {
    wstring text;
    while (text.size() < units)
        text += piece;
    return text;
}

// A newsletter: tables, links with entities in them, words.
wstring newsletter(std::size_t units) {
    return u"<html><head><title>News</title><style>td { color: red }</style></head><body>\r\n" +
           repeated(
               u"<tr>\r\n  <td width=\"120\" align='left'><a href=\"http://www.example.com/news?id=7&amp;from=mail\" "
               u"class=\"link\"><b>Read&nbsp;on</b></a></td>\r\n  <td>It was a bright cold day in April, and the "
               u"clocks were striking thirteen &ndash; or so.<br>\r\n<img src=\"/pictures/clock.gif\" width=1></td>"
               u"\r\n</tr>\r\n",
               units) +
           u"</body></html>";
}

// "&amp;amp;amp;": each conversion takes one layer off.
wstring nested_entities(std::size_t units) { return u"<a href='&" + repeated(u"amp;", units) + u"lt;x'>"; }
// Each conversion loses the name at the end, which then is a shorter text's end.
wstring shrinking(std::size_t units) { return u"<a href='x" + repeated(u"&", units) + u"'>"; }
wstring shrinking_names(std::size_t units) { return u"<a href='x" + repeated(u"&b", units) + u"'>"; }
// One entity stays where it is, and each conversion moves what ends its name.
wstring long_name(std::size_t units) {
    return u"<a href='&" + wstring(units / 2, u'x') + u"&" + repeated(u"amp;", units / 2) + u"'>";
}
wstring links_in_value(std::size_t units) { return u"<a href='" + repeated(u"<a href=b>", units) + u"'>"; }
wstring open_quotes(std::size_t units) { return u"<a href=\"" + repeated(u"<a href='a href='>", units) + u"\">"; }

// A link in a link in a link: the depth that fits grows with the root of the size.
wstring nested_links(std::size_t units) {
    wstring value;
    for (std::size_t depth = 1; 4 * depth * depth < units; ++depth) {
        const auto amp = u"&" + repeated(u"amp;", 4 * depth);
        value += amp + u"lt;a" + amp + u"#32;href=";
    }
    return u"<a href='" + value + u"x>'>";
}

wstring relative_links(std::size_t units) {
    return u"<base href='" + wstring(units / 2, u'b') + u"'>" + repeated(u"<a href=x>", units / 4) +
           repeated(u"<img src=y>", units / 4);
}
wstring different_relative_links(std::size_t units) {
    wstring html = u"<base href='" + wstring(units / 2, u'b') + u"'>";
    for (char16_t number = 0; html.size() < units; ++number)
        html += wstring(u"<img src=x") + static_cast<char16_t>(0x4E00 + number % 0x5000) + u">";
    return html;
}
// Two links in turn, so that neither is the one that came last, and each time the base in front of both.
wstring repeated_relative_links(std::size_t units) {
    return u"<base href='" + wstring(units / 2, u'b') + u"'>" +
           repeated(u"<img src=a\u0101b><img src=a\u0102b>", units / 2);
}
// The same base once more, behind another, and the same links.
wstring repeated_bases(std::size_t units) {
    const auto base = u"<base href='" + wstring(units / 4, u'b') + u"'>";
    wstring links;
    for (char16_t number = 0; links.size() < units / 4; ++number)
        links += wstring(u"<img src=x") + static_cast<char16_t>(0x4E00 + number % 0x5000) + u">";
    return base + links + u"<base href=c>" + base + links;
}
wstring different_links(std::size_t units) {
    wstring html;
    for (char16_t number = 0; html.size() < units; ++number)
        html += wstring(u"<a href=http:") + static_cast<char16_t>(0x4E00 + number % 0x5000) + u">";
    return html;
}
wstring base_in_value(std::size_t units) {
    return u"<a href='<base href=" + wstring(units / 2, u'b') + u">" + repeated(u"<a href=x>", units / 2) + u"'>";
}
// The base has grown by its own base and links, to a text of which a part is no tag.
wstring growing_base(std::size_t units) {
    return u"<base href='http:<base href=b&gt;" + wstring(units / 2, u'c') + u">" + repeated(u"<a href=x>", units / 2) +
           u"'><a href=y><a href=z>";
}
wstring different_tags(std::size_t units) {
    wstring html;
    for (char16_t number = 0; html.size() < units; ++number)
        html += wstring(u"<") + static_cast<char16_t>(0x4E00 + number % 0x5000) + u">";
    return html;
}

wstring tag_without_end(std::size_t units) { return wstring(units, u'<'); }
wstring tags_without_end(std::size_t units) { return repeated(u"<a ", units); }
wstring attribute_without_end(std::size_t units) { return u"<a href='" + repeated(u"<a href=", units); }
wstring escaped_attribute(std::size_t units) { return u"<a href='" + repeated(u"\\'", units); }
wstring flag_attributes(std::size_t units) { return u"<a" + wstring(units, u' ') + u">"; }
wstring ampersands(std::size_t units) { return wstring(units, u'&'); }
wstring entities(std::size_t units) { return repeated(u"&thetasym", units); }
wstring blanks(std::size_t units) { return wstring(units, u' '); }

void convert(benchmark::State& state, wstring (*make)(std::size_t units)) {
    const auto html = make(static_cast<std::size_t>(state.range(0)) << 10);
    for (auto _ : state) { // NOLINT: the loop's variable has no use
        tackle::html::convert_to_text converter(true);
        tackle::html::parse(html, converter);
        benchmark::DoNotOptimize(converter.text.data());
        benchmark::DoNotOptimize(converter.links.size());
        benchmark::DoNotOptimize(converter.tags.size());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(html.size()));
    state.SetComplexityN(state.range(0));
}

#define BRMX_CONVERT(input)                                                                                            \
    BENCHMARK_CAPTURE(convert, input, input)->Arg(16)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond)

BRMX_CONVERT(newsletter);
BRMX_CONVERT(nested_entities);
BRMX_CONVERT(shrinking);
BRMX_CONVERT(shrinking_names);
BRMX_CONVERT(long_name);
BRMX_CONVERT(links_in_value);
BRMX_CONVERT(open_quotes);
BRMX_CONVERT(nested_links);
BRMX_CONVERT(relative_links);
BRMX_CONVERT(different_relative_links);
BRMX_CONVERT(repeated_relative_links);
BRMX_CONVERT(repeated_bases);
BRMX_CONVERT(different_links);
BRMX_CONVERT(base_in_value);
BRMX_CONVERT(growing_base);
BRMX_CONVERT(different_tags);
BRMX_CONVERT(tag_without_end);
BRMX_CONVERT(tags_without_end);
BRMX_CONVERT(attribute_without_end);
BRMX_CONVERT(escaped_attribute);
BRMX_CONVERT(flag_attributes);
BRMX_CONVERT(ampersands);
BRMX_CONVERT(entities);
BRMX_CONVERT(blanks);

} // namespace
} // namespace brimwarden::benchmarks
