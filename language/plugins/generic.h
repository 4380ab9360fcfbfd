#pragma once

#include "findings/trace_line.h"
#include "foundation/text/text.h"

#include <cstdint>
#include <map>
#include <set>

namespace brimwarden::language {

// Letters counted for each language, by LCID.
using result_map = std::map<std::uint32_t, std::uint64_t>;

} // namespace brimwarden::language

namespace brimwarden::language::plugins::generic {

// A way to tell languages. One object serves all sessions, and all threads at once.
class plugin {
public:
    virtual ~plugin() = default;

    // Replaces `languages` by the LCIDs of all languages that detect can report.
    virtual void supported_languages(std::set<std::uint32_t>& languages) const = 0;

    // Adds to `results` the letters of `text` that speak for each language, and to `target` all its letters, and then
    // keeps in `results` the languages that stand out, if any. Appends to `trace` a heading and either a line for each
    // of them or one that says that there are none. Takes any text, in time proportional to its length.
    virtual void detect(tackle::wstring_view text, result_map& results, std::uint64_t& target,
                        analysis::trace_list& trace) const = 0;
};

} // namespace brimwarden::language::plugins::generic
