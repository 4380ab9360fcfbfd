#pragma once

#include "server/judgement/evidence.h"

#include <cstddef>
#include <span>
#include <string_view>

// Counts in, answer out. Nothing here has state, a clock or a store: the same evidence gives the same answer.
namespace brimwarden::server::judgement {

// Trust is measured in units of what a new reporter has, 1. A signature is proven by a sum of trust, so 1 means one
// new reporter, 2 two of them or one who has been confirmed, and so on. All factors of `threshold`.
struct settings {
    float threshold = 1;           // what proves text, structure and files; 1 for a small site
    float link = 1.3F;             // a link with its path: a new reporter alone does not
    float host = 1.3F;             // a host of which only longer links were reported
    float domain = 2.1F;           // a domain of which only other hosts were reported
    float address = 2;             // the address a message came from: many people share one
    float below_wide = 6;          // a link below a host that is wide and wanted
    float strangers = 2.5F;        // a host or a domain whose reporters have, on average, less trust than `host`
    float cold = 4;                // factor for hosts while the server has seen next to nothing, falling to 1
    float stale = 0.5F;            // what of the needed trust has to be left after fading: 0.5 is one half-life
    float revoke = 1;              // how much of a report's weight a revoke has
    std::uint32_t wide_margin = 2; // a signature is wide if so many more mailboxes have seen it than reported it,
    float wide_ratio = 1.5F;       // and if those who have seen it are so many times those who reported it
};

enum class verdict : std::uint8_t {
    unknown, // answered as not known
    low,     // matched, without points: for links whose being unknown costs points
    ignored, // wide and wanted
    spam,
    black, // by hand
    white, // by hand
};

struct judged {
    verdict answer = verdict::unknown;
    std::string_view rule; // why, for people; static
};

// Everything but links.
[[nodiscard]] judged judge(signature_code kind, const evidence& known, const settings& rules);

// Wide and wanted: many see it and few report it. With too few mailboxes nothing is wide.
[[nodiscard]] bool is_wide(const evidence& known, const settings& rules);

// One beginning of a link.
struct beginning {
    evidence known;
    bool has_path = false;
};

// How much of the experience a server has that it takes to tell wide hosts from others: 0 for an empty one, 1 for one
// whose members have asked `warm_after` times. Who has seen a hundredth of all mail has then been seen three times.
inline constexpr std::uint64_t warm_after = 300;
[[nodiscard]] constexpr float warmth(std::uint64_t questions) {
    return questions >= warm_after ? 1.0F : static_cast<float>(questions) / static_cast<float>(warm_after);
}

struct judged_link {
    judged result;
    std::size_t beginning = 0; // which of them the answer is about
};

// The beginnings of one link, the shortest first and the link itself last; never empty. `bulk`: a host where anybody
// can put a page. There only the link itself is judged, since its host says nothing about it. A client gives points to
// links of such hosts that are ignored or not known, so "ignored" becomes "low", and so does a link that nobody has
// reported.
[[nodiscard]] judged_link judge_link(std::span<const beginning> beginnings, bool bulk, float warm,
                                     const settings& rules);

// The three counters of an answer. A client computes reports * 100 / (8 * revokes + reports), so that the true counts
// would let one hostile revoke outweigh eight reports: the counters therefore express the verdict.
struct counters {
    std::uint64_t reports = 0;
    std::uint64_t revokes = 0;
};
[[nodiscard]] counters express(verdict answer, const evidence& known);

} // namespace brimwarden::server::judgement
