#include <algorithm>

#include "analysis/analysis_engine.h"
#include "analysis/plugins/plugin_set.h"
#include "view/logical_root.h"

// All sums are plain single floats in the order of the lists: another order or a wider type gives other last digits.
namespace brimwarden::analysis {

namespace {

constexpr float certain = 100.0F; // points, and the sum that all matched signatures share at most
constexpr float revoke_in_reports = 8.0F;
constexpr float relevant = 60.0F;       // below it an address or a link says nothing: good mail has them as well
constexpr float address_weight = 40.0F; // many people send from one address

float relevance_of(const signature_record& record) {
    const auto reports = static_cast<float>(record.reports);
    const auto revokes = static_cast<float>(record.revokes);
    if (reports + revokes == 0.0F) return 0.0F;
    return reports * 100.0F / (revokes * revoke_in_reports + reports);
}

float weight_of(const signature_record& record) {
    if (record.ignored) return 0.0F;
    if (record.type == u"tru") return record.relevance < relevant ? 0.0F : record.weight;
    if (record.type == u"hsi") return record.relevance < relevant ? 0.0F : address_weight;
    return certain;
}

float weigh(signature_list& signatures) {
    float total = 0.0F;
    for (auto& record : signatures) {
        if (!record.matched) continue;
        record.relevance = relevance_of(record);
        record.weight = weight_of(record);
        total += record.weight; // white and black ones as well: they take their share, and yet add no points
    }
    return total;
}

void declare(test_result_list& results, tackle::wstring_view name, const signature_record& record) {
    add(results, name, 0.0F, tackle::format(u"Signature: %.6s %s", record.type, record.value));
}

// Turns one matched signature into its finding, if it is one, and returns the word for its state.
tackle::wstring_view judge(const signature_record& record, float total_weight, test_result_list& results) {
    if (record.whitelisted) {
        declare(results, u"Signature.Whitelisted", record);
        results.back().whitelist = true;
        return u"Whitelisted";
    }
    if (record.blacklisted) {
        declare(results, u"Signature.Blacklisted", record);
        results.back().blacklist = true;
        return u"Blacklisted";
    }
    if (record.ignored) return u"Ignored";
    const float weight = total_weight > 0.0F ? std::min(record.weight, record.weight * 100.0F / total_weight) : 0.0F;
    results.emplace_back(u"Signature.Matched", weight * record.relevance / 100.0F);
    results.back().details = tackle::format(u"Signature: %.6s %s, Relevance: %.2f, Weight: %.2f", record.type,
                                            record.value, record.relevance, weight);
    return u"Normal";
}

void judge_signatures(scan_context& scan) {
    const float total_weight = weigh(scan.signatures);
    bool first = true;
    for (const auto& record : scan.signatures) {
        if (!record.matched) continue;
        if (first) scan.trace.open_block(u"Matched Signatures:");
        first = false;
        const auto state = judge(record, total_weight, scan.test_results);
        scan.trace.append_format(1, u"%.6s %s -- ID: %I64i, State: %s, Reports: %I64i, Revokes: %I64i, Touches: %I64i",
                                 record.type, record.value, record.id, state, record.reports, record.revokes,
                                 record.touches);
    }
}

// A word that declares the message clean beats everything before and behind it, one that declares it spam beats all
// points; the sum is limited only at the end, so that late findings can still bring it back into range.
float add_up(const test_result_list& results, trace_list& trace) {
    float probability = 0.0F;
    bool whitelist_seen = false;
    bool blacklist_seen = false;
    if (!results.empty()) trace.open_block(u"Test Results:");
    for (const auto& result : results) {
        if (result.details.empty())
            trace.append_format(1, u"%-6.2f %s", result.value, result.name);
        else
            trace.append_format(1, u"%-6.2f %s -- %s", result.value, result.name, result.details);
        if (result.whitelist) {
            probability = 0.0F;
            whitelist_seen = true;
            blacklist_seen = false;
        } else if (result.blacklist) {
            if (whitelist_seen) continue;
            probability = certain;
            blacklist_seen = true;
        } else if (!whitelist_seen && !blacklist_seen) {
            probability += result.value;
        }
    }
    return std::clamp(probability, 0.0F, certain);
}

} // namespace

void analysis_engine::classify(scan_context& scan) {
    judge_signatures(scan);
    if (scan.community_answered) {
        const auto& root = logical_root(*scan.message);
        plugins::plugin_set plugins;
        for (auto* const plugin : plugins.in_order())
            plugin->apply(root, scan.signatures, scan.test_results, scan.trace);
    }
    scan.probability = add_up(scan.test_results, scan.trace);
    scan.trace.open_block(u"Overall Classification:");
    scan.trace.append_format(1, u"Spam Probability: %.2f", scan.probability);
}

} // namespace brimwarden::analysis
