#include "findings/trace_line.h"

#include "foundation/text/unicode.h"

namespace brimwarden::analysis {

using tackle::wstring;
using tackle::wstring_view;
using tackle::internet::message2::part;

void trace_list::open_block(wstring_view heading) {
    append(0, u"");
    append(0, heading);
}

void trace_list::list_parts(const part& message, const part* root, const part* displayable) {
    parts_.first = ends_.size();
    parts_.root = root;
    parts_.displayable = displayable;
    add_tree(message, 1);
}

// As deep as the tree, which the loader bounds.
void trace_list::add_tree(const part& node, std::uint8_t indent) {
    parts_.nodes.push_back(&node);
    parts_.indents.push_back(indent);
    for (const auto& child : node.children())
        add_tree(*child, indent + 1);
}

wstring trace_list::part_text(const part& node) const {
    wstring line = tackle::unicode::to_wide(node.content_type(), 65001);
    if (const wstring name = node.attachment_info().filename; !name.empty())
        tackle::append_format(line, u" \"%s\"", name);
    tackle::append_format(line, u" -- ID: 0x%x, Bytes: %i", node.number(), node.data().size());
    if (&node == parts_.root) line += u", Logical Root";
    if (&node == parts_.displayable) line += u", Displayable";
    return line;
}

trace_line trace_list::operator[](std::size_t index) const {
    if (index >= parts_.first) {
        const std::size_t among_parts = index - parts_.first;
        if (among_parts < parts_.nodes.size())
            return {parts_.indents[among_parts], part_text(*parts_.nodes[among_parts])};
        index -= parts_.nodes.size();
    }
    const std::size_t begin = index == 0 ? 0 : ends_[index - 1].end;
    return {ends_[index].indent, text_.substr(begin, ends_[index].end - begin)};
}

} // namespace brimwarden::analysis
