#include "analysis/plugins/executable_files.h"

#include "foundation/text/format.h"
#include "foundation/text/strings.h"
#include "message/part_walk.h"

#include <algorithm>

namespace brimwarden::analysis::plugins::attachment_analysis {

using tackle::wstring;
using tackle::wstring_view;
using tackle::internet::message2::part;

wstring file_name(const part& part) { return tackle::to_lower(part.attachment_info().filename); }

void test_executables(const part& root, test_result_list& test_results) {
    constexpr wstring_view endings[] = {u".exe", u".com", u".cmd", u".bat", u".pif"};
    float points = 40.0F;
    walk_parts(root, true, [&](const part& candidate) {
        const auto name = file_name(candidate);
        if (std::ranges::none_of(endings, [&](wstring_view ending) { return name.ends_with(ending); })) return true;
        add(test_results, u"Part.Content-Type.Executable", points, tackle::format(u"Part: 0x%x", candidate.number()));
        points = 0.0F;
        return true;
    });
}

} // namespace brimwarden::analysis::plugins::attachment_analysis
