#pragma once

#include "findings/test_result.h"
#include "message/part.h"

namespace brimwarden::analysis::plugins::header_analysis {

// Looks at the logical root as a whole: are Content-Type and Message-ID there and well formed, is the message nothing
// but a file, and does it carry a valid mark of the online service. A field that cannot be decoded silences the one
// group of tests that needs it.
void test_root(const tackle::internet::message2::part& root, test_result_list& test_results);

// True if `root` carries the mark that the online service signs with `key`. With an empty key there is no mark: everybody
// could compute it. Throws tackle::unicode::generic for a field that cannot be decoded.
[[nodiscard]] bool has_online_mark(const tackle::internet::message2::part& root, tackle::string_view key);

} // namespace brimwarden::analysis::plugins::header_analysis
