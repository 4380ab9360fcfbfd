#include "language/plugins/ankiro.h"

#include <cstdlib>
#include <cstring>

// Any 16-bit text: a result that fits its letters, or none.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace brimwarden::language;
    static const plugins::ankiro::plugin plugin;
    tackle::wstring text(size / 2, u'\0');
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * 2);

    result_map results;
    std::uint64_t target = 0;
    brimwarden::analysis::trace_list trace;
    plugin.detect(text, results, target, trace);
    if (target > text.size() || (target < 16 && !results.empty())) std::abort();
    for (const auto& [lcid, count] : results)
        if (count > target) std::abort();
    if (trace.size() != 1 + (results.empty() ? 1 : results.size())) std::abort();
    return 0;
}
