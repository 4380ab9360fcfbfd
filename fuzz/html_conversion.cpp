#include "html/convert_to_text.h"

#include <algorithm>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using tackle::wstring;

// Bytes stand for units of the same value, but for 0xFF, which makes the next byte a unit above Latin-1.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    wstring html;
    for (std::size_t i = 0; i < size; ++i) {
        const bool is_high = data[i] == 0xFF && i + 1 < size;
        html += is_high ? static_cast<char16_t>(0x600 + data[++i]) : static_cast<char16_t>(data[i]);
    }
    for (const bool in_body : {false, true}) {
        tackle::html::convert_to_text converter(in_body);
        tackle::html::parse(html, converter);
        std::size_t links = 0;
        for (const auto link : converter.links)
            links += link.size();
        // The limit on links that repeat a base; the first link after each base, which has none but that on the growth
        // of the bases in values; and what stands in the input by itself.
        const auto most = std::max<std::size_t>(html.size() * 4, 0x10000) * 2 + html.size() * 4;
        if (converter.text.size() > most || links > most) std::abort();
        if (converter.tags.contains(u"A")) std::abort();
    }
    return 0;
}
