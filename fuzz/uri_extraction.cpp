#include "analysis/links/uri_extraction.h"
#include "analysis/links/uri_parsing.h"
#include "analysis/links/uri_scan.h"
#include "foundation/text/strings.h"
#include "fuzz/support/expect.h"

#include <cstddef>
#include <cstdint>
#include <vector>

using namespace brimwarden::analysis;
using tackle::wstring;
using tackle::wstring_view;

namespace {

// The rules of scan_uri word for word: a walk over the whole list for each address, a call inside the call for each
// hidden one. Cubic, so only short inputs are compared.
class literal_scan {
public:
    struct record {
        wstring value, details;
    };
    std::vector<record> records;

    void scan(const wstring& candidate, bool strict_host, bool recursive) {
        wstring scratch;
        const auto s = decoded(strip_uri_prefix(candidate, scratch));
        wstring value;
        if (reverse_domain(extract_host_and_path(s, strict_host), value)) {
            add(value, u"Input: \"" + candidate + u"\"");
            if (!recursive) return;
            scan_query_values(candidate);
            scan_query_values(decoded(candidate));
        } else if (recursive) {
            const auto start = find_uri_start(s, 0);
            if (start != wstring::npos && start > 0) scan(s.substr(start), strict_host, true);
        }
    }

private:
    static wstring decoded(wstring_view text) {
        wstring scratch;
        return wstring(decode_uri_escapes(text, scratch));
    }
    void add(const wstring& value, const wstring& details) {
        for (const auto& known : records)
            if (value.starts_with(known.value)) return;
        std::erase_if(records, [&](const record& known) { return known.value.starts_with(value); });
        records.push_back({value, details});
    }
    void scan_query_values(const wstring& candidate) {
        const auto pieces = tackle::split_tokens(candidate, u"?&");
        for (std::size_t i = 1; i < pieces.size(); ++i) {
            const auto parts = tackle::split(pieces[i], u"=");
            if (parts.size() > 2) continue;
            auto value = decoded(parts.back());
            for (const wstring word : {u"inurl:", u"site:"})
                if (value.starts_with(word)) value.erase(0, word.size());
            scan(value, true, false);
        }
    }
};

void expect_literal(const wstring& text, bool strict_host) {
    literal_scan literal;
    uri_list uris(true);
    for (const auto word : tackle::split_tokens(text, u" ")) {
        literal.scan(wstring(word), strict_host, true);
        scan_uri(word, strict_host, uris);
    }
    signature_list signatures;
    uris.move_to(signatures);
    EXPECT(signatures.size() == literal.records.size());
    for (std::size_t i = 0; i < signatures.size(); ++i)
        EXPECT(signatures[i].value == literal.records[i].value && signatures[i].details == literal.records[i].details);
}

} // namespace

// Bytes stand for units of the same value, but for 0xFF, which makes the next byte a unit above Latin-1.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    wstring text;
    for (std::size_t i = 0; i < size; ++i) {
        const bool is_high = data[i] == 0xFF && i + 1 < size;
        text += is_high ? static_cast<char16_t>(0xD700 + data[++i]) : static_cast<char16_t>(data[i]);
    }
    if (text.size() <= 1000)
        for (const bool strict_host : {false, true})
            expect_literal(text, strict_host);
    uri_list uris;
    scan_uri(text, true, uris);
    scan_text_for_uris(text, uris);
    token_list words;
    tokenise(text, words, dot_mode);
    scan_spoken_uris(words, uris);
    signature_list signatures;
    uris.move_to(signatures);
    for (const auto& one : signatures) // two pieces at least, from a known domain or a number on
        EXPECT(one.value.find_first_of(u"./") != wstring::npos && one.value.front() != u'.');
    return 0;
}
