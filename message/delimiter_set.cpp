#include "message/delimiter_set.h"

#include <algorithm>

namespace tackle::internet::message2 {
namespace {

constexpr string_view dashes = "--";

// By length first: most lines are then told apart without a look at their bytes.
bool before(string_view a, string_view b) { return a.size() != b.size() ? a.size() < b.size() : a < b; }

std::size_t length_class(string_view boundary) { return std::min<std::size_t>(boundary.size(), 255); }

} // namespace

void delimiter_set::add(string_view boundary, std::size_t owner) {
    const auto place = std::find_if(entries_.begin(), entries_.end(), [&](const entry& e) {
        return before(boundary, e.boundary) || (e.boundary == boundary && owner < e.owner);
    });
    entries_.insert(place, {string(boundary), owner});
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
