#include <algorithm>
#include <cstdint>
#include <numeric>
#include <tuple>

#include "analysis/analysis_engine.h"
#include "analysis/plugins/plugin_set.h"
#include "view/logical_root.h"

namespace brimwarden::analysis {

namespace {

// Most messages have no more, and to move them when a list grows costs as much as to make them.
constexpr std::size_t usual_signatures = 32;

// By code unit, so that the order is the same everywhere. Of equal ones the first found stays; the details of the
// others are lost with them. What is sorted are their places, as a record is large, and the records then follow them
// without a second list: a message can have one for each of its parts.
void sort_and_unify(signature_list& signatures) {
    const auto key = [&](std::uint32_t place) { return std::tie(signatures[place].type, signatures[place].value); };
    std::vector<std::uint32_t> order(signatures.size());
    std::iota(order.begin(), order.end(), 0U);
    // With the place as the last key no two are equal, so that any sort keeps the order of equal ones.
    std::ranges::sort(
        order, [key](auto left, auto right) { return std::tuple(key(left), left) < std::tuple(key(right), right); });
    // Along each cycle of the permutation: order[to] is where the record for the place `to` is.
    std::vector<bool> placed(signatures.size());
    for (std::uint32_t first = 0; first < order.size(); ++first) {
        if (placed[first]) continue;
        auto kept = std::move(signatures[first]);
        std::uint32_t to = first;
        for (; order[to] != first; to = order[to]) {
            signatures[to] = std::move(signatures[order[to]]);
            placed[to] = true;
        }
        signatures[to] = std::move(kept);
        placed[to] = true;
    }
    const auto same = [](const auto& left, const auto& right) {
        return left.type == right.type && left.value == right.value;
    };
    signatures.erase(std::unique(signatures.begin(), signatures.end(), same), signatures.end());
    // A million files can have one signature between them.
    constexpr std::size_t many = 1024;
    if (signatures.capacity() > std::max(many, signatures.size() * 2)) signatures.shrink_to_fit();
}

} // namespace

void analysis_engine::generate_signatures(scan_context& scan) {
    const auto& root = logical_root(*scan.message);
    scan.trace.append(0, u"Message Parts:");
    scan.trace.list_parts(*scan.message, &root, root.find_displayable());

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
