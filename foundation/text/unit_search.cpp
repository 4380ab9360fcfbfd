#include "foundation/text/unit_search.h"

#if defined(__SSE2__)
#include <bit>
#include <emmintrin.h>
#endif

namespace tackle {

std::size_t find_either(wstring_view text, char16_t a, char16_t b, std::size_t from) noexcept {
    const char16_t* const units = text.data();
    const std::size_t size = text.size();
#if defined(__SSE2__)
    const __m128i first = _mm_set1_epi16(static_cast<short>(a));
    const __m128i second = _mm_set1_epi16(static_cast<short>(b));
    for (; from + 8 <= size; from += 8) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + from));
        const __m128i found = _mm_or_si128(_mm_cmpeq_epi16(block, first), _mm_cmpeq_epi16(block, second));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found)); // two bits a unit
        if (mask != 0) return from + static_cast<std::size_t>(std::countr_zero(mask)) / 2;
    }
#endif
    while (from < size && units[from] != a && units[from] != b)
        ++from;
    return from;
}

} // namespace tackle
