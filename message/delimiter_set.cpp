#include "message/delimiter_set.h"

#include <algorithm>

namespace tackle::internet::message2 {
namespace {

constexpr string_view dashes = "--";

// By length first: most lines are then told apart without a look at their bytes.
bool before(string_view a, string_view b) { return a.size() != b.size() ? a.size() < b.size() : a < b; }

} // namespace

void delimiter_set::add(string_view boundary, std::size_t owner) {
    const auto place = std::find_if(entries_.begin(), entries_.end(), [&](const entry& e) {
        return before(boundary, e.boundary) || (e.boundary == boundary && owner < e.owner);
    });
    entries_.insert(place, {string(boundary), owner});
}

void delimiter_set::remove(std::size_t owner) {
    std::erase_if(entries_, [&](const entry& e) { return e.owner == owner; });
}

const delimiter_set::entry* delimiter_set::find_boundary(string_view boundary) const {
    const auto place = std::lower_bound(entries_.begin(), entries_.end(), boundary,
                                        [](const entry& e, string_view wanted) { return before(e.boundary, wanted); });
    return place != entries_.end() && place->boundary == boundary ? &*place : nullptr;
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
