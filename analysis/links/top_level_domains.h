#pragma once

#include "foundation/text/text.h"

namespace brimwarden::analysis {

inline constexpr std::size_t longest_top_level_domain = 18;

// Whether a label in lower case is a top-level domain.
[[nodiscard]] bool is_top_level_domain(tackle::wstring_view label);

} // namespace brimwarden::analysis
