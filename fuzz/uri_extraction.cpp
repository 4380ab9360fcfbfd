#include "analysis/links/uri_extraction.h"
#include "analysis/links/uri_scan.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace brimwarden::analysis;

// Bytes stand for units of the same value, but for 0xFF, which makes the next byte a unit above Latin-1.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tackle::wstring text;
    for (std::size_t i = 0; i < size; ++i) {
        const bool is_high = data[i] == 0xFF && i + 1 < size;
        text += is_high ? static_cast<char16_t>(0xD700 + data[++i]) : static_cast<char16_t>(data[i]);
    }
    uri_list uris;
    scan_uri(text, true, uris);
    scan_text_for_uris(text, uris);
    token_list words;
    tokenise(text, words, dot_mode);
    scan_spoken_uris(words, uris);
    signature_list signatures;
    uris.move_to(signatures);
    for (const auto& one : signatures) {
        // Two pieces at least, from a known domain or a number on.
        if (one.value.find_first_of(u"./") == tackle::wstring::npos || one.value.front() == u'.') std::abort();
    }
    return 0;
}
