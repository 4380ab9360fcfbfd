#pragma once

#include "foundation/text/text.h"

#include <cstdint>

namespace brimwarden::language {

// The English name of a language: the system's where it has one, else from a table of the same names. Empty for an LCID
// that neither knows.
[[nodiscard]] tackle::wstring english_name(std::uint32_t lcid);

// The table alone.
[[nodiscard]] tackle::wstring_view tabled_name(std::uint32_t lcid);

} // namespace brimwarden::language
