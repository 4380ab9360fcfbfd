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
    constexpr float rounding = 1e-3F; // trust fades a little within the first hour
    return known.reports - rules.revoke * known.revokes >= needed * rules.threshold * (1 - rounding) - rounding;
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

// What a beginning that is not wide takes to be proven.
float needed_for(const beginning& one, bool is_last, bool below_wide, const settings& rules) {
    if (below_wide) return rules.below_wide;
    if (!one.has_path && !is_last && !one.known.whole) return rules.host;
    return rules.link;
}

judged judge_beginning(const beginning& one, bool is_last, bool below_wide, const settings& rules) {
    const evidence& known = one.known;
    if (known.reporters == 0 && known.revokers == 0) return nothing;
    if (is_wanted(known, rules)) return {verdict::ignored, "revoked"};
    if (is_wide(known, rules)) return {verdict::ignored, "wide and wanted"};
    if (known.reporters == 0) return nothing;
    if (!proven(known, needed_for(one, is_last, below_wide, rules), rules)) return weak;
    return {verdict::spam, "proven by reports"};
}

} // namespace

judged_link judge_link(std::span<const beginning> beginnings, bool bulk, const settings& rules) {
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
        const judged one = judge_beginning(beginnings[i], i == last, below_wide, rules);
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
