#pragma once

#include "message/part.h"

#include <vector>

namespace tackle::internet::message2 {

inline constexpr string_view attached_message_type = "message/rfc822";

// Calls visit(part) for a part and all below it, breadth first, until it answers false. With `skip_nested` attached
// messages are passed over, with all below them. Keeps no more than the parts that have children: a message can consist
// of millions of others, and a list of them costs more than they do. The tree must not change meanwhile.
template <typename node, typename visitor>
void walk_parts(node& root, bool skip_nested, const visitor& visit) {
    const auto is_skipped = [&](const part& one) { return skip_nested && one.content_type() == attached_message_type; };
    if (is_skipped(root) || !visit(root)) return;
    std::vector<node*> parents = {&root};
    for (std::size_t front = 0; front < parents.size(); ++front) {
        for (const auto& child : parents[front]->children()) {
            if (is_skipped(*child)) continue;
            if (!visit(*child)) return;
            if (!child->children().empty()) parents.push_back(child.get());
        }
    }
}

} // namespace tackle::internet::message2
