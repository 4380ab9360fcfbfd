#include "message/part_walk.h"
#include "foundation/text/strings.h"
#include "message/part.h"

namespace tackle::internet::message2 {
namespace {

template <typename node>
void find(node& root, std::vector<node*>& out, bool skip_nested, string_view type_prefix) {
    const string prefix = to_lower(type_prefix);
    walk_parts(root, skip_nested, [&](node& found) {
        if (found.content_type().starts_with(prefix)) out.push_back(&found);
        return true;
    });
}

bool is_shown_inline(const part& candidate) { return !candidate.attachment_info().is_attachment; }

// The best text at or below a part.
const part* find_text(const part& root) {
    const part* inline_plain = nullptr;
    const part* any_html = nullptr;
    const part* any_plain = nullptr;
    const part* inline_html = nullptr;
    walk_parts(root, true, [&](const part& found) {
        if (found.content_type().starts_with("text/html")) {
            if (any_html == nullptr) any_html = &found;
            if (is_shown_inline(found)) inline_html = &found;
        } else if (found.content_type().starts_with("text/plain")) {
            if (any_plain == nullptr) any_plain = &found;
            if (inline_plain == nullptr && is_shown_inline(found)) inline_plain = &found;
        }
        return inline_html == nullptr;
    });
    for (const part* best : {inline_html, inline_plain, any_html, any_plain})
        if (best != nullptr) return best;
    return nullptr;
}

} // namespace

void part::find_parts(std::vector<part*>& out, bool skip_nested, string_view type_prefix) {
    find(*this, out, skip_nested, type_prefix);
}

void part::find_parts(std::vector<const part*>& out, bool skip_nested, string_view type_prefix) const {
    find(*this, out, skip_nested, type_prefix);
}

// The candidates are all multiparts, breadth first, and then this part. A multipart below another one has no text that
// the outer one, whose turn comes before, has not: only the outermost ones are asked, and each part is seen once.
const part* part::find_displayable() const {
    std::vector<const part*> queue = {this};
    for (std::size_t front = 0; front < queue.size(); ++front) {
        const part& next = *queue[front];
        if (next.content_type() == attached_message_type) continue;
        if (next.content_type().starts_with("multipart/")) {
            if (const part* const found = find_text(next)) return found;
            continue;
        }
        for (const auto& child : next.children())
            if (!child->children().empty() || child->content_type().starts_with("multipart/"))
                queue.push_back(child.get());
    }
    return find_text(*this);
}

part* part::find_displayable() { return const_cast<part*>(static_cast<const part*>(this)->find_displayable()); }

} // namespace tackle::internet::message2
