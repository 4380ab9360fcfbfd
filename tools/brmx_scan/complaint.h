#pragma once

#include "tools/brmx_scan/output.h"

#include <string>

namespace brmx_scan {

// True if the message gave less than was asked: no probability, or no report or revoke.
[[nodiscard]] bool failed(const report& made, const questions& asked);

// What the user should know about a message beside its answer, and what can be done: empty if all went well. A
// probability without the community's share is worth a word only where there is a community.
[[nodiscard]] std::string complaint(const report& made, bool has_community);

// The name of a status that is none to be glad of, what came of it, and what can be done, as far as anything can.
[[nodiscard]] std::string explain(engine_status status, const char* outcome = "");

} // namespace brmx_scan
