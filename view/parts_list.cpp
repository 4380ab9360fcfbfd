#include "view/parts_list.h"

#include "foundation/text/unicode.h"

namespace brimwarden::analysis {

using tackle::wstring;
using tackle::internet::message2::part;

namespace {

// As deep as the tree, which the loader bounds.
void list_tree(const part& node, std::uint32_t indent, const part* root, const part* displayable, trace_list& trace) {
    wstring line = tackle::unicode::to_wide(node.content_type(), 65001);
    if (const wstring name = node.attachment_info().filename; !name.empty())
        tackle::append_format(line, u" \"%s\"", name);
    tackle::append_format(line, u" -- ID: 0x%x, Bytes: %i", node.number(), node.data().size());
    if (&node == root) line += u", Logical Root";
    if (&node == displayable) line += u", Displayable";
    trace.append(indent, line);
    for (const auto& child : node.children())
        list_tree(*child, indent + 1, root, displayable, trace);
}

} // namespace

void list_parts(const part& message, const part* root, const part* displayable, trace_list& trace) {
    list_tree(message, 1, root, displayable, trace);
}

} // namespace brimwarden::analysis
