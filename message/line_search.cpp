#include "message/line_search.h"

#include "foundation/text/line_scanner.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <bit>
#include <emmintrin.h>
#endif

namespace tackle::internet::message2 {
namespace {

bool is_line_end(char c) { return c == '\r' || c == '\n'; }

#if defined(__SSE2__)
__m128i load(const char* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }
__m128i line_ends(__m128i block) {
    return _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('\r')), _mm_cmpeq_epi8(block, _mm_set1_epi8('\n')));
}
// Each byte of the mask is 0 or 255, and stands for a count of 0 or 1.
std::size_t count(__m128i mask) {
    const __m128i sums = _mm_sad_epu8(_mm_sub_epi8(_mm_setzero_si128(), mask), _mm_setzero_si128());
    return static_cast<std::size_t>(_mm_cvtsi128_si64(sums) + _mm_cvtsi128_si64(_mm_srli_si128(sums, 8)));
}
#endif

} // namespace

// Whatever stands behind a line end byte and is none itself begins a line, so no state has to be carried.
std::size_t find_line_with(string_view text, std::size_t from, char c) noexcept {
    const char* const bytes = text.data();
    const std::size_t size = text.size();
    if (from == 0) {
        if (size > 0 && bytes[0] == c) return 0;
        from = 1;
    }
#if defined(__SSE2__)
    const __m128i wanted = _mm_set1_epi8(c);
    for (; from + 16 <= size; from += 16) {
        const __m128i found =
            _mm_and_si128(_mm_cmpeq_epi8(load(bytes + from), wanted), line_ends(load(bytes + from - 1)));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
        if (mask != 0) return from + static_cast<std::size_t>(std::countr_zero(mask));
    }
#endif
    for (; from < size; ++from)
        if (bytes[from] == c && is_line_end(bytes[from - 1])) return from;
    return size;
}

std::size_t find_white_control(string_view text, std::size_t from) noexcept {
    const char* const bytes = text.data();
    const std::size_t size = text.size();
#if defined(__SSE2__)
    const __m128i highest = _mm_set1_epi8('\r' - '\t');
    for (; from + 16 <= size; from += 16) {
        const __m128i distance = _mm_sub_epi8(load(bytes + from), _mm_set1_epi8('\t'));
        const __m128i found = _mm_cmpeq_epi8(_mm_min_epu8(distance, highest), distance);
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
        if (mask != 0) return from + static_cast<std::size_t>(std::countr_zero(mask));
    }
#endif
    while (from < size && (bytes[from] < '\t' || bytes[from] > '\r'))
        ++from;
    return from;
}

std::size_t skip_line_end(string_view text, std::size_t end) noexcept {
    const std::size_t next = end + 1;
    // The other one of the two makes a pair with the first, the same one ends a line of its own.
    return next < text.size() && (text[end] ^ text[next]) == ('\r' ^ '\n') ? next + 1 : next;
}

// A line ends at each CR or LF that does not make a pair with the one before it. To count the pairs CR LF only is
// exact for mail, and errs to the safe side where LF CR stands.
std::size_t normalised_size(const line_stretch& lines) noexcept {
    const char* const bytes = lines.bytes.data();
    const std::size_t size = lines.bytes.size();
    std::size_t end_bytes = 0;
    std::size_t pairs = 0;
    std::size_t at = 0;
#if defined(__SSE2__)
    for (; at + 17 <= size; at += 16) {
        const __m128i block = load(bytes + at);
        const __m128i next = load(bytes + at + 1);
        end_bytes += count(line_ends(block));
        pairs +=
            count(_mm_and_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('\r')), _mm_cmpeq_epi8(next, _mm_set1_epi8('\n'))));
    }
#endif
    for (; at < size; ++at) {
        if (is_line_end(bytes[at])) ++end_bytes;
        if (bytes[at] == '\r' && at + 1 < size && bytes[at + 1] == '\n') ++pairs;
    }
    return size - end_bytes + 2 * (end_bytes - pairs + (lines.open ? 1 : 0));
}

namespace {

// The first line end other than CR LF at or behind `from`, where a line begins; the text's size if there is none.
std::size_t find_other_line_end(string_view text, std::size_t from) noexcept {
    const char* const bytes = text.data();
    const std::size_t size = text.size();
    if (from >= size || bytes[from] == '\n') return std::min(from, size);
    std::size_t at = from + 1;
    // Each LF has a CR in front of it, and each CR an LF behind it.
    const auto found = [&](std::size_t wrong) { return bytes[wrong] == '\n' ? wrong : wrong - 1; };
#if defined(__SSE2__)
    for (; at + 16 <= size; at += 16) {
        const __m128i behind = _mm_cmpeq_epi8(load(bytes + at - 1), _mm_set1_epi8('\r'));
        const __m128i ends = _mm_cmpeq_epi8(load(bytes + at), _mm_set1_epi8('\n'));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_xor_si128(behind, ends)));
        if (mask != 0) return found(at + static_cast<std::size_t>(std::countr_zero(mask)));
    }
#endif
    for (; at < size; ++at)
        if ((bytes[at - 1] == '\r') != (bytes[at] == '\n')) return found(at);
    return bytes[size - 1] == '\r' ? size - 1 : size;
}

} // namespace

// Whole runs of lines that end in CR LF already are copied at once.
void append_normalised(const line_stretch& lines, string& out) {
    const string_view bytes = lines.bytes;
    const std::size_t before = out.size();
    out.resize(before + normalised_size(lines));
    char* to = out.data() + before;
    const auto copy = [&](std::size_t first, std::size_t last) {
        if (first < last) std::memcpy(to, bytes.data() + first, last - first);
        to += last - first;
    };
    const auto end_line = [&] {
        *to++ = '\r';
        *to++ = '\n';
    };
    std::size_t copied = 0;
    for (std::size_t end = find_other_line_end(bytes, 0); end < bytes.size();
         end = find_other_line_end(bytes, copied)) {
        copy(copied, end);
        end_line();
        copied = skip_line_end(bytes, end);
    }
    copy(copied, bytes.size());
    if (lines.open) end_line();
    out.resize(static_cast<std::size_t>(to - out.data()));
}

} // namespace tackle::internet::message2
