#include "findings/trace_line.h"

namespace brimwarden::analysis {

void trace_list::open_block(tackle::wstring_view heading) {
    append(0, u"");
    append(0, heading);
}

trace_line trace_list::operator[](std::size_t index) const {
    const std::size_t begin = index == 0 ? 0 : ends_[index - 1].end;
    return {ends_[index].indent, tackle::wstring_view(text_).substr(begin, ends_[index].end - begin)};
}

} // namespace brimwarden::analysis
