#pragma once

#include "analysis/uri_list.h"
#include "foundation/text.h"

namespace brimwarden::analysis {

// Makes a signature of a candidate, or of an address that hides behind it if it is none itself, and one of each address
// in the values of its query.
void scan_uri(tackle::wstring_view candidate, bool strict_host, uri_list& uris);

} // namespace brimwarden::analysis
