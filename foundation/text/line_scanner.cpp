#include "foundation/text/line_scanner.h"

#if defined(__SSE2__)
#include <bit>
#include <emmintrin.h>
#endif

namespace tackle {

std::size_t find_line_end(string_view text, std::size_t from) noexcept {
    const char* const bytes = text.data();
    const std::size_t size = text.size();
#if defined(__SSE2__)
    const __m128i cr = _mm_set1_epi8('\r');
    const __m128i lf = _mm_set1_epi8('\n');
    for (; from + 16 <= size; from += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + from));
        const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(block, cr), _mm_cmpeq_epi8(block, lf));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(ends));
        if (mask != 0) return from + static_cast<std::size_t>(std::countr_zero(mask));
    }
#endif
    while (from < size && bytes[from] != '\r' && bytes[from] != '\n')
        ++from;
    return from;
}

} // namespace tackle
