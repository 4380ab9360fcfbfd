#pragma once

#include "findings/trace_line.h"
#include "message/part.h"

namespace brimwarden::analysis {

// Appends one line for each part of the tree, the root at indent 1, children one deeper than their parent. The two
// parts that play a role are marked; null marks none. A file name that cannot be decoded counts as none.
void list_parts(const tackle::internet::message2::part& message, const tackle::internet::message2::part* root,
                const tackle::internet::message2::part* displayable, trace_list& trace);

} // namespace brimwarden::analysis
