#include "community/client/server_record.h"

#include <algorithm>

namespace brimwarden::analysis::community {

void server_record::add_sample(std::uint32_t latency_ms) {
    latencies.push_back(latency_ms);
    if (latencies.size() > most_samples) latencies.pop_front();
}

std::optional<std::uint32_t> server_record::best_sample() const {
    if (latencies.empty()) return std::nullopt;
    return *std::ranges::min_element(latencies);
}

} // namespace brimwarden::analysis::community
