#include "analysis/links/uri_scan.h"

#include "analysis/links/hidden_uri.h"
#include "analysis/links/uri_parsing.h"
#include "foundation/text/strings.h"

#include <algorithm>

namespace brimwarden::analysis {

using tackle::wstring;
using tackle::wstring_view;

namespace {

bool add_if_valid(wstring_view candidate, wstring_view resolved, bool strict_host, uri_list& uris) {
    const auto cleaned = extract_host_and_path(resolved, strict_host);
    wstring value;
    value.reserve(cleaned.size());
    if (!reverse_domain(cleaned, value)) return false;
    uris.add(value, candidate);
    return true;
}

void scan_value(wstring_view raw, uri_list& uris) {
    wstring decoded;
    auto value = decode_uri_escapes(raw, decoded);
    for (const wstring_view search_word : {u"inurl:", u"site:"}) {
        if (value.starts_with(search_word)) value.remove_prefix(search_word.size());
    }
    wstring stripped;
    wstring resolved;
    add_if_valid(value, decode_uri_escapes(strip_uri_prefix(value, stripped), resolved), true, uris);
}

// Addresses that an address hands on: redirections, searches.
void scan_query_values(wstring_view candidate, uri_list& uris, wstring& seen) {
    constexpr wstring_view separators = u"?&";
    const auto differ = std::ranges::mismatch(candidate, seen).in1 - candidate.begin();
    const auto common = candidate.substr(0, static_cast<std::size_t>(differ));
    const auto scanned = common.substr(0, common.find_last_of(separators) + 1); // up to 0, without a separator
    seen.assign(candidate);
    bool is_first = scanned.find_first_not_of(separators) == wstring_view::npos;
    candidate.remove_prefix(scanned.size());
    while (!candidate.empty()) {
        const auto piece = candidate.substr(0, candidate.find_first_of(separators));
        candidate.remove_prefix(std::min(piece.size() + 1, candidate.size()));
        if (piece.empty()) continue;
        const bool skipped = is_first || std::ranges::count(piece, u'=') > 1;
        is_first = false;
        if (!skipped) scan_value(piece.substr(piece.find(u'=') + 1), uris);
    }
}

} // namespace

void scan_uri(wstring_view candidate, bool strict_host, uri_list& uris, seen_queries& seen) {
    wstring hidden;
    wstring stripped;
    wstring decoded;
    auto resolved = decode_uri_escapes(strip_uri_prefix(candidate, stripped), decoded);
    if (!add_if_valid(candidate, resolved, strict_host, uris)) {
        const auto start = find_uri_start(resolved, 0);
        if (start == wstring_view::npos || start == 0) return;
        auto found = hidden_uri_search(resolved.substr(start), strict_host).find();
        if (!found) return;
        hidden = std::move(*found);
        candidate = hidden;
        resolved = decode_uri_escapes(strip_uri_prefix(candidate, stripped), decoded);
        add_if_valid(candidate, resolved, strict_host, uris);
    }
    const auto may_hold_query = [](char16_t unit) { return unit == u'?' || unit == u'&' || unit == u'%'; };
    if (std::ranges::none_of(candidate, may_hold_query)) return;
    scan_query_values(candidate, uris, seen.raw);
    // The same values once more would change nothing.
    if (const auto once_more = decode_uri_escapes(candidate, decoded); once_more != candidate)
        scan_query_values(once_more, uris, seen.decoded);
}

} // namespace brimwarden::analysis
