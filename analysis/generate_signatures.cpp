#include <algorithm>
#include <tuple>

#include "analysis/analysis_engine.h"
#include "analysis/plugins/plugin_set.h"
#include "view/logical_root.h"
#include "view/parts_list.h"

namespace brimwarden::analysis {

namespace {

// Most messages have no more, and to move them when a list grows costs as much as to make them.
constexpr std::size_t usual_signatures = 32;

// By code unit, so that the order is the same everywhere. Of equal ones the first found stays; the details of the
// others are lost with them. What is sorted are their places, as a record is large.
void sort_and_unify(signature_list& signatures) {
    const auto key = [](const signature_record* record) { return std::tie(record->type, record->value); };
    std::vector<signature_record*> order;
    order.reserve(signatures.size());
    for (auto& record : signatures)
        order.push_back(&record);
    // With the place as the last key no two are equal, so that any sort keeps the order of equal ones.
    std::ranges::sort(order, [key](const auto* left, const auto* right) {
        return std::tuple(key(left), left) < std::tuple(key(right), right);
    });
    const auto same = [key](const auto* left, const auto* right) { return key(left) == key(right); };
    order.erase(std::unique(order.begin(), order.end(), same), order.end());
    signature_list sorted;
    sorted.reserve(order.size());
    for (auto* const record : order)
        sorted.push_back(std::move(*record));
    signatures = std::move(sorted);
}

} // namespace

void analysis_engine::generate_signatures(scan_context& scan) {
    const auto& root = logical_root(*scan.message);
    scan.trace.append(0, u"Message Parts:");
    list_parts(*scan.message, &root, root.find_displayable(), scan.trace);

    scan.signatures.reserve(usual_signatures);
    plugins::plugin_set plugins;
    for (auto* const plugin : plugins.in_order())
        plugin->generate(root, scan.signatures, scan.test_results, scan.trace);
    sort_and_unify(scan.signatures);

    scan.trace.open_block(u"Generated Signatures:");
    for (const auto& record : scan.signatures)
        scan.trace.append(1, tackle::wstring_view(record.type).substr(0, 6), u" ", record.value);
}

} // namespace brimwarden::analysis
