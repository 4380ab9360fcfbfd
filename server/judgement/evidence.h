#pragma once

#include "community/wire/signature.h"

#include <cstdint>

namespace brimwarden::server::judgement {

using analysis::community::signature_code;

// What an operator has said about a signature by hand.
enum class mark : std::uint8_t { none, ignore, black, white };

// What is known of one signature at the time of a question. A plain value: whoever fills it has done all that needs a
// clock, a store or a lock.
struct evidence {
    float reports = 0;           // the trust of those who reported it, summed, each faded by its age
    float revokes = 0;           // the same of those who said that it is wanted
    std::uint32_t reporters = 0; // distinct mailboxes, counted without trust or age
    std::uint32_t revokers = 0;
    std::uint32_t width = 0; // distinct mailboxes that have asked about it or reported it; an estimate when large
    bool whole = false;      // of a link: reported with just this value, not only with something longer
    mark marked = mark::none;
    float said = 0; // as `reports`, but not faded by age
};

} // namespace brimwarden::server::judgement
