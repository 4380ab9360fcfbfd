#pragma once

#include "foundation/text/text.h"

#include <cstddef>

namespace tackle {

// The position of the first unit of `text` at or behind `from` that is `a` or `b`; the text's size if there is none.
[[nodiscard]] std::size_t find_either(wstring_view text, char16_t a, char16_t b, std::size_t from = 0) noexcept;

} // namespace tackle
