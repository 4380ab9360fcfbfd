#pragma once

#include <algorithm>

// How the word of a reporter gains and loses weight. Pure functions; who confirms whom is the handler's business.
namespace brimwarden::server::judgement {

struct trust_rules {
    float first = 1; // a new reporter's; the unit of all thresholds
    float most = 2;
    float gain = 0.4F;  // for one report that a reporter of full trust confirms
    float loss = 0.25F; // what a revoke by somebody trusted leaves
};

// After another mailbox of trust `other` has reported the same. Somebody without trust of his own confirms nobody, so
// that a circle of strangers raises itself slowly.
[[nodiscard]] inline float confirmed(float trust, float other, const trust_rules& rules) {
    return std::min(rules.most, trust + rules.gain * std::min(other, rules.first) / rules.most);
}

// After a mailbox of trust `other` has said the opposite. It has to be about as trusted itself, or a stranger could
// disarm those whose word counts.
[[nodiscard]] inline float contradicted(float trust, float other, const trust_rules& rules) {
    return other < 0.75F * trust ? trust : trust * rules.loss;
}

// What is left of a statement after a time, by the half-life of its kind.
[[nodiscard]] float faded(float hours, float half_life_hours);

} // namespace brimwarden::server::judgement
