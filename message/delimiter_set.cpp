#include "message/delimiter_set.h"

#include <algorithm>
#include <cstring>
#include <utility>

#if defined(__SSE2__)
#include <bit>
#include <emmintrin.h>
#endif

namespace tackle::internet::message2 {
namespace {

constexpr string_view dashes = "--";

bool is_line_end(char c) { return c == '\r' || c == '\n'; }

// By length first: most lines are then told apart without a look at their bytes.
bool before(string_view a, string_view b) { return a.size() != b.size() ? a.size() < b.size() : a < b; }

std::size_t length_class(string_view boundary) { return std::min<std::size_t>(boundary.size(), 255); }

} // namespace

void delimiter_set::add(string_view boundary, std::size_t owner) {
    const auto place = std::find_if(entries_.begin(), entries_.end(), [&](const entry& e) {
        return before(boundary, e.boundary) || (e.boundary == boundary && owner < e.owner);
    });
    entry added{string(boundary), owner};
    const std::size_t length = std::min(boundary.size(), sizeof added.begin);
    std::memcpy(&added.begin, boundary.data(), length);
    std::memset(&added.mask, 0xFF, length);
    entries_.insert(place, std::move(added));
    ++first_bytes_[static_cast<std::uint8_t>(boundary.front())];
    ++lengths_[length_class(boundary)];
}

void delimiter_set::remove(std::size_t owner) {
    const auto place = std::find_if(entries_.begin(), entries_.end(), [&](const entry& e) { return e.owner == owner; });
    if (place == entries_.end()) return;
    --first_bytes_[static_cast<std::uint8_t>(place->boundary.front())];
    --lengths_[length_class(place->boundary)];
    entries_.erase(place);
}

const delimiter_set::entry* delimiter_set::find_boundary(string_view boundary) const {
    if (lengths_[length_class(boundary)] == 0) return nullptr;
    const auto place = std::lower_bound(entries_.begin(), entries_.end(), boundary,
                                        [](const entry& e, string_view wanted) { return before(e.boundary, wanted); });
    return place != entries_.end() && place->boundary == boundary ? &*place : nullptr;
}

// Whether the line that begins with two dashes at `line` goes on like one of the boundaries. Of many, some will: then
// it is as well to search for the whole line at once.
bool delimiter_set::may_begin_at(string_view text, std::size_t line) const {
    constexpr std::size_t many = 4;
    const string_view rest = text.substr(line + dashes.size());
    if (first_bytes_[static_cast<std::uint8_t>(rest.front())] == 0) return false;
    if (entries_.size() >= many) return true;
    std::uint64_t begin = 0;
    if (rest.size() < sizeof begin) return true;
    std::memcpy(&begin, rest.data(), sizeof begin);
    return std::any_of(entries_.begin(), entries_.end(), [&](const entry& e) {
        if ((begin & e.mask) != e.begin || !rest.starts_with(e.boundary)) return false;
        if (rest.size() == e.boundary.size()) return true;
        const char next = rest[e.boundary.size()];
        return is_line_end(next) || next == dashes.front();
    });
}

// Whatever follows a line end byte and is none itself begins a line, so no state has to be carried.
std::size_t delimiter_set::find_candidate(string_view text, std::size_t from) const {
    const char* const bytes = text.data();
    const std::size_t size = text.size();
    if (entries_.empty() || size < 3) return size;
    if (from == 0) {
        if (text.starts_with(dashes) && may_begin_at(text, 0)) return 0;
        from = 1;
    }
#if defined(__SSE2__)
    const auto load = [](const char* at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at)); };
    const auto equal = [](__m128i block, char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); };
    for (; from + 18 <= size; from += 16) {
        const __m128i before = load(bytes + from - 1);
        const __m128i pairs = _mm_and_si128(equal(load(bytes + from), '-'), equal(load(bytes + from + 1), '-'));
        const __m128i lines = _mm_and_si128(pairs, _mm_or_si128(equal(before, '\r'), equal(before, '\n')));
        for (auto mask = static_cast<unsigned>(_mm_movemask_epi8(lines)); mask != 0; mask &= mask - 1) {
            const std::size_t at = from + static_cast<std::size_t>(std::countr_zero(mask));
            if (may_begin_at(text, at)) return at;
        }
    }
#endif
    for (; from + 2 < size; ++from)
        if (is_line_end(bytes[from - 1]) && text.substr(from).starts_with(dashes) && may_begin_at(text, from))
            return from;
    return size;
}

std::optional<delimiter_set::match> delimiter_set::find(string_view line) const {
    if (!line.starts_with(dashes)) return std::nullopt;
    line.remove_prefix(dashes.size());
    const entry* const delimiter = find_boundary(line);
    const entry* const closing =
        line.ends_with(dashes) ? find_boundary(line.substr(0, line.size() - dashes.size())) : nullptr;
    if (delimiter != nullptr && (closing == nullptr || delimiter->owner < closing->owner))
        return match{delimiter->owner, false};
    if (closing != nullptr) return match{closing->owner, true};
    return std::nullopt;
}

} // namespace tackle::internet::message2
