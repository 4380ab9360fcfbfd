#include "analysis/uri_scan.h"

#include "analysis/hidden_uri.h"
#include "analysis/uri_parsing.h"
#include "foundation/strings.h"

#include <algorithm>

namespace brimwarden::analysis {

using tackle::wstring;
using tackle::wstring_view;

namespace {

bool add_if_valid(wstring_view candidate, wstring_view resolved, bool strict_host, uri_list& uris) {
    wstring value;
    if (!reverse_domain(extract_host_and_path(resolved, strict_host), value)) return false;
    wstring details;
    details.reserve(candidate.size() + 9);
    details = u"Input: \"";
    details += candidate;
    details += u'"';
    uris.add(value, std::move(details));
    return true;
}

void scan_value(wstring_view raw, uri_list& uris) {
    const auto decoded = decode_uri_escapes(raw);
    wstring_view value = decoded;
    for (const wstring_view search_word : {u"inurl:", u"site:"}) {
        if (value.starts_with(search_word)) value.remove_prefix(search_word.size());
    }
    add_if_valid(value, decode_uri_escapes(strip_uri_prefix(value)), true, uris);
}

// Addresses that an address hands on: redirections, searches.
void scan_query_values(wstring_view candidate, uri_list& uris) {
    bool is_first = true;
    while (!candidate.empty()) {
        const auto piece = candidate.substr(0, candidate.find_first_of(u"?&"));
        candidate.remove_prefix(std::min(piece.size() + 1, candidate.size()));
        if (piece.empty()) continue;
        const bool skipped = is_first || std::ranges::count(piece, u'=') > 1;
        is_first = false;
        if (!skipped) scan_value(piece.substr(piece.find(u'=') + 1), uris);
    }
}

} // namespace

void scan_uri(wstring_view candidate, bool strict_host, uri_list& uris) {
    wstring hidden;
    auto resolved = decode_uri_escapes(strip_uri_prefix(candidate));
    if (!add_if_valid(candidate, resolved, strict_host, uris)) {
        const auto start = find_uri_start(resolved, 0);
        if (start == wstring_view::npos || start == 0) return;
        auto found = hidden_uri_search(wstring_view(resolved).substr(start), strict_host).find();
        if (!found) return;
        hidden = std::move(*found);
        candidate = hidden;
        resolved = decode_uri_escapes(strip_uri_prefix(candidate));
        add_if_valid(candidate, resolved, strict_host, uris);
    }
    if (candidate.find_first_of(u"?&%") == wstring_view::npos) return;
    scan_query_values(candidate, uris);
    scan_query_values(decode_uri_escapes(candidate), uris);
}

} // namespace brimwarden::analysis
