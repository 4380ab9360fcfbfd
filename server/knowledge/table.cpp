#include "server/knowledge/table.h"

#include <algorithm>
#include <mutex>

namespace brimwarden::server::knowledge {

table::table(std::size_t most_unproven) : most_unproven_(std::max<std::size_t>(most_unproven / part_count, 1)) {}

std::optional<record> table::find(identity wanted) const {
    const part& place = part_of(wanted);
    const std::shared_lock lock(place.lock);
    const auto found = place.records.find(wanted);
    if (found == place.records.end()) return std::nullopt;
    return found->second;
}

// Looks at a bounded number of buckets from where the last search ended: over time each record gets its turn.
void table::drop_one(part& crowded) {
    constexpr std::size_t most_buckets = 64;
    const std::size_t buckets = crowded.records.bucket_count();
    for (std::size_t tried = 0; tried < std::min(most_buckets, buckets); ++tried) {
        crowded.hand = (crowded.hand + 1) % buckets;
        for (auto one = crowded.records.begin(crowded.hand); one != crowded.records.end(crowded.hand); ++one) {
            if (one->second.has_evidence()) continue;
            crowded.records.erase(one->first);
            --crowded.unproven;
            return;
        }
    }
}

void table::see(identity asked, judgement::signature_code kind, std::uint64_t mailbox) {
    part& place = part_of(asked);
    const std::unique_lock lock(place.lock);
    const auto [entry, added] = place.records.try_emplace(asked);
    record& seen = entry->second;
    if (added) {
        seen.kind = kind;
        ++place.unproven;
    }
    seen.seen.add(mailbox);
    ++seen.touches;
    if (seen.has_evidence()) place.changed.push_back(asked);
    if (added && place.unproven > most_unproven_) drop_one(place);
}

void table::change(identity wanted, const std::function<void(record&)>& change) {
    part& place = part_of(wanted);
    const std::unique_lock lock(place.lock);
    const auto [entry, added] = place.records.try_emplace(wanted);
    const bool was_unproven = !added && !entry->second.has_evidence();
    change(entry->second);
    const bool is_unproven = !entry->second.has_evidence();
    place.unproven += (is_unproven ? 1 : 0);
    place.unproven -= (was_unproven ? 1 : 0);
    place.changed.push_back(wanted);
}

void table::for_each(const std::function<void(identity, const record&)>& visit) const {
    for (const part& place : parts_) {
        const std::shared_lock lock(place.lock);
        for (const auto& [id, known] : place.records)
            visit(id, known);
    }
}

std::vector<identity> table::take_changed() {
    std::vector<identity> all;
    for (part& place : parts_) {
        const std::unique_lock lock(place.lock);
        all.insert(all.end(), place.changed.begin(), place.changed.end());
        place.changed.clear();
    }
    std::ranges::sort(all);
    const auto repeated = std::ranges::unique(all);
    all.erase(repeated.begin(), repeated.end());
    return all;
}

std::size_t table::size() const {
    std::size_t count = 0;
    for (const part& place : parts_) {
        const std::shared_lock lock(place.lock);
        count += place.records.size();
    }
    return count;
}

} // namespace brimwarden::server::knowledge
