#include <algorithm>
#include <tuple>

#include "analysis/analysis_engine.h"
#include "analysis/logical_root.h"
#include "analysis/parts_list.h"

namespace brimwarden::analysis {

namespace {

// By code unit, so that the order is the same everywhere. Of equal ones the first found stays; the details of the
// others are lost with them.
void sort_and_unify(signature_list& signatures) {
    const auto key = [](const signature_record& record) { return std::tie(record.type, record.value); };
    std::ranges::stable_sort(signatures, {}, key);
    const auto same = [key](const auto& left, const auto& right) { return key(left) == key(right); };
    signatures.erase(std::unique(signatures.begin(), signatures.end(), same), signatures.end());
}

} // namespace

void analysis_engine::generate_signatures(scan_context& scan) {
    const auto& root = logical_root(*scan.message);
    scan.trace.append(0, u"Message Parts:");
    list_parts(*scan.message, &root, root.find_displayable(), scan.trace);

    scan.attachment_plugin.generate(root, scan.signatures, scan.test_results, scan.trace);
    scan.header_plugin.generate(root, scan.signatures, scan.test_results, scan.trace);
    scan.text_plugin.generate(root, scan.signatures, scan.test_results, scan.trace);
    sort_and_unify(scan.signatures);

    scan.trace.open_block(u"Generated Signatures:");
    for (const auto& record : scan.signatures)
        scan.trace.append_format(1, u"%.6s %s", record.type, record.value);
}

} // namespace brimwarden::analysis
