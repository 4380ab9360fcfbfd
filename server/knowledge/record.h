#pragma once

#include "server/judgement/evidence.h"
#include "server/judgement/trust.h"
#include "server/knowledge/width.h"

#include <algorithm>
#include <cstdint>

namespace brimwarden::server::knowledge {

using seconds = std::int64_t; // since 1970, by the server's clock

// What a server keeps in memory of one signature: sums only. Who reported it is in the store.
struct record {
    judgement::signature_code kind{};
    judgement::mark marked = judgement::mark::none;
    bool whole = false; // see judgement::evidence
    float reports = 0;  // both as of `as_of`
    float revokes = 0;
    float said = 0;          // as `reports`, but not faded
    std::uint32_t as_of = 0; // in seconds, as the next
    std::uint32_t first = 0; // of the first report; 0 without one
    std::uint32_t reporters = 0;
    std::uint32_t revokers = 0;
    std::uint32_t touches = 0; // queries by members that asked about it
    width seen;

    // Brings both sums to a time. Time that runs backwards leaves them as they are, so that nothing grows.
    void fade(seconds now, float half_life_hours) {
        const auto elapsed = now - static_cast<seconds>(as_of);
        if (elapsed <= 0) return;
        const float left = judgement::faded(static_cast<float>(elapsed) / 3600.0F, half_life_hours);
        reports *= left;
        revokes *= left;
        as_of = static_cast<std::uint32_t>(now);
    }
    [[nodiscard]] judgement::evidence evidence_at(seconds now, float half_life_hours) const {
        record faded = *this;
        faded.fade(now, half_life_hours);
        return {faded.reports, faded.revokes, reporters, revokers, std::max(seen.estimate(), reporters),
                whole,         marked,        said};
    }
    [[nodiscard]] bool has_evidence() const { return reporters + revokers != 0 || marked != judgement::mark::none; }
};

} // namespace brimwarden::server::knowledge
