#pragma once

#include "findings/trace_line.h"
#include "language/plugins/generic.h"
#include "message/part.h"

#include <cstdint>

namespace brimwarden::language {

// What one question about a message's languages has found. Used by one thread.
struct language_query {
    explicit language_query(const tackle::internet::message2::part& root) : message(&root) {}

    const tackle::internet::message2::part* message; // the root; has to outlive the query
    analysis::trace_list trace;
    result_map results;       // the letters counted for each language that stands out
    std::uint64_t target = 0; // all letters
};

// Looks at the text that a reader of the message would see, Subject first, and fills the query. A message without such
// a text, or with a very long one, gives no result and a trace that says so; characters that cannot be decoded are
// never a failure. Throws what reading the message throws otherwise.
void detect_message_language(language_query& query, const plugins::generic::plugin& plugin);

} // namespace brimwarden::language
