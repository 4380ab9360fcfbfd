#pragma once

#include "analysis/links/uri_list.h"
#include "foundation/text/text.h"

namespace brimwarden::analysis {

// The queries of the last candidate, as it was and with its escapes resolved.
struct seen_queries {
    tackle::wstring raw;
    tackle::wstring decoded;
};

// Makes a signature of a candidate, or of an address that hides behind it if it is none itself, and one of each address
// in the values of its query. Thousands of links may repeat a base with a query in it: with one `seen` for all of them,
// and links in order, the values in what a link has in common with the one before it are not scanned again, which would
// add nothing to `uris`.
void scan_uri(tackle::wstring_view candidate, bool strict_host, uri_list& uris, seen_queries& seen);
inline void scan_uri(tackle::wstring_view candidate, bool strict_host, uri_list& uris) {
    seen_queries none;
    scan_uri(candidate, strict_host, uris, none);
}

} // namespace brimwarden::analysis
