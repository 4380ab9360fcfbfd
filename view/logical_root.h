#pragma once

#include "message/part.h"

namespace brimwarden::analysis {

// The part that counts as the message. A delivery report is judged by the message that it returns, and a message that
// a filter has wrapped and flagged by the one inside; anything else by itself. The result lies in the tree of
// `message`, and is always the same for the same tree.
[[nodiscard]] const tackle::internet::message2::part& logical_root(const tackle::internet::message2::part& message);

// The same without a look into what a filter has wrapped: the language asked for is that of the whole.
[[nodiscard]] const tackle::internet::message2::part&
logical_root_for_language(const tackle::internet::message2::part& message);

} // namespace brimwarden::analysis
