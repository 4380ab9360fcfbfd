#pragma once

#include "findings/test_result.h"
#include "message/part.h"

namespace brimwarden::analysis::plugins::attachment_analysis {

// The lower-cased file name of a part; empty if it has none, or one that cannot be decoded.
[[nodiscard]] tackle::wstring file_name(const tackle::internet::message2::part& part);

// Looks for files that a system would run when somebody opens them, by their names alone: whatever type a part claims,
// a multipart too. The first one counts, the others are noted. Attached messages are not looked into.
void test_executables(const tackle::internet::message2::part& root, test_result_list& test_results);

} // namespace brimwarden::analysis::plugins::attachment_analysis
