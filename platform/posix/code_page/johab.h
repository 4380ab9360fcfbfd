#pragma once

#include <cstdint>
#include <vector>

namespace tackle::platform {

// The two-byte codes of Johab, code page 1361. A syllable is its three letters in five bits each; signs and Chinese
// characters are the rows of the Korean standard in another place. `standard` has the standard's pairs as code page
// 949 has them, [lead << 8 | trail]. Returns pairs of the same form; 0xFFFD where there is none. Throws std::bad_alloc.
[[nodiscard]] std::vector<char16_t> johab_pairs(const std::vector<char16_t>& standard);

} // namespace tackle::platform
