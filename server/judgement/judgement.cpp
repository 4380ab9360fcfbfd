#include "server/judgement/judgement.h"

#include <algorithm>

namespace brimwarden::server::judgement {

namespace {

constexpr judged nothing{verdict::unknown, "never reported"};
constexpr judged weak{verdict::unknown, "too few trusted reports"};

judged by_hand(mark marked) {
    switch (marked) {
    case mark::ignore:
        return {verdict::ignored, "ignored by an operator"};
    case mark::black:
        return {verdict::black, "declared spam by an operator"};
    case mark::white:
        return {verdict::white, "declared wanted by an operator"};
    case mark::none:
        break;
    }
    return nothing;
}

bool proven(const evidence& known, float needed, const settings& rules) {
    constexpr float rounding = 1e-3F; // of sums of floats
    const float enough = needed * rules.threshold - rounding;
    const float against = rules.revoke * known.revokes;
    return known.said - against >= enough && known.reports - against >= enough * rules.stale;
}

float needed_for(signature_code kind, const settings& rules) {
    return kind == signature_code::address ? rules.address : 1.0F;
}

bool is_wanted(const evidence& known, const settings& rules) {
    return known.revokes >= rules.threshold && known.revokes * rules.revoke > known.reports;
}

} // namespace

bool is_wide(const evidence& known, const settings& rules) {
    return known.width >= known.reporters + rules.wide_margin &&
           static_cast<float>(known.width) > rules.wide_ratio * static_cast<float>(known.reporters);
}

judged judge(signature_code kind, const evidence& known, const settings& rules) {
    if (known.marked != mark::none) return by_hand(known.marked);
    if (known.reporters == 0 && known.revokers == 0) return nothing;
    if (is_wanted(known, rules)) return {verdict::ignored, "revoked"};
    if (known.reporters == 0) return nothing;
    if (is_wide(known, rules)) return {verdict::ignored, "wide and wanted"};
    if (!proven(known, needed_for(kind, rules), rules)) return weak;
    return {verdict::spam, "proven by reports"};
}

namespace {

// What a beginning takes to be proven that is not below a wide one.
float needed_for(std::span<const beginning> beginnings, std::size_t which, float warm, const settings& rules) {
    const beginning& one = beginnings[which];
    const bool is_last = which + 1 == beginnings.size();
    if (one.has_path) return rules.link;
    const float cold = rules.cold + (1 - rules.cold) * warm;
    if (is_last || one.known.whole) return rules.link * cold;
    const float average = one.known.reporters == 0 ? 0 : one.known.said / static_cast<float>(one.known.reporters);
    const float least = average < rules.host ? std::max(rules.strangers, rules.host) : rules.host;
    return std::max(least, beginnings[which + 1].has_path ? 0.0F : rules.domain) * cold;
}

judged judge_beginning(const beginning& one, float needed, const settings& rules) {
    const evidence& known = one.known;
    if (known.reporters == 0 && known.revokers == 0) return nothing;
    if (is_wanted(known, rules)) return {verdict::ignored, "revoked"};
    if (is_wide(known, rules)) return {verdict::ignored, "wide and wanted"};
    if (known.reporters == 0) return nothing;
    if (!proven(known, needed, rules)) return weak;
    return {verdict::spam, "proven by reports"};
}

} // namespace

judged_link judge_link(std::span<const beginning> beginnings, bool bulk, float warm, const settings& rules) {
    const std::size_t last = beginnings.size() - 1;
    for (std::size_t i = beginnings.size(); i-- > 0;) // the longest mark says most about this link
        if (const mark marked = beginnings[i].known.marked; marked != mark::none) {
            judged found = by_hand(marked);
            if (bulk && found.answer == verdict::ignored) found.answer = verdict::low;
            return {found, i};
        }
    judged_link best{nothing, last};
    bool below_wide = false;
    for (std::size_t i = bulk ? last : 0; i <= last; ++i) {
        const float needed = below_wide ? rules.below_wide : needed_for(beginnings, i, warm, rules);
        const judged one = judge_beginning(beginnings[i], needed, rules);
        if (one.answer == verdict::ignored) below_wide = true;
        if (one.answer != verdict::unknown || best.result.answer == verdict::unknown) best = {one, i};
    }
    if (!bulk) return best;
    if (best.result.answer == verdict::ignored) best.result.answer = verdict::low;
    if (best.result.answer == verdict::unknown && beginnings[last].known.reporters == 0)
        return {{verdict::low, "never reported, at a host where anybody can put a page"}, last};
    return best;
}

counters express(verdict answer, const evidence& known) {
    if (answer != verdict::spam && answer != verdict::black) return {};
    return {std::max<std::uint64_t>(known.reporters, 1), 0};
}

} // namespace brimwarden::server::judgement
