#include "server/handler/extraction.h"

#include "analysis/analysis_engine.h"
#include "foundation/exception.h"
#include "view/logical_root.h"

#include <algorithm>
#include <set>

namespace brimwarden::server::handler {

using analysis::signature_record;
using analysis::community::signature_code;
using tackle::internet::message2::part;

namespace {

constexpr float inner_weight = 0.25F;
constexpr std::size_t enough_letters = 16;
constexpr std::size_t enough_bytes = 64;
constexpr float full_hosts = 4; // so many hosts in one message count fully

using digests = std::set<tackle::wstring>;

void collect_small_files(const part& node, digests& found) {
    if (node.children().empty() && node.data().size() < enough_bytes) found.insert(analysis::digest_text(node.data()));
    for (const auto& child : node.children())
        collect_small_files(*child, found);
}

// The details of a text that is too short for a whole block quote its letters and nothing else.
bool is_short_block(const signature_record& record) {
    constexpr tackle::wstring_view before = u"Block: \"";
    return record.details.size() <= before.size() + enough_letters;
}

tackle::wstring_view host_of(const signature_record& record) {
    return tackle::wstring_view(record.value).substr(0, record.value.find(u'/'));
}

} // namespace

std::vector<extracted> extract(const part& message) {
    analysis::scan_context scan(message);
    scan.signatures.with_details = true; // they tell a short text
    analysis::analysis_engine::generate_signatures(scan);
    const part& root = analysis::logical_root(message);
    digests small_files;
    collect_small_files(root, small_files);
    std::set<tackle::wstring_view> hosts;
    for (const auto& record : scan.signatures)
        if (record.type == u"tru") hosts.insert(host_of(record));
    const float link_weight = std::min(1.0F, full_hosts / static_cast<float>(std::max<std::size_t>(hosts.size(), 1)));

    std::vector<extracted> all;
    all.reserve(scan.signatures.size());
    for (const auto& record : scan.signatures) {
        float weight = &root == &message ? 1.0F : inner_weight;
        try {
            auto signature = analysis::community::to_wire(record);
            if (signature.code == signature_code::link) weight *= link_weight;
            if (signature.code == signature_code::blocks && is_short_block(record)) weight = 0;
            if (signature.code == signature_code::part && small_files.contains(record.value)) weight = 0;
            all.push_back({std::move(signature), weight});
        } catch (const tackle::exception&) { // a value that cannot go over the wire is never asked for either
        }
    }
    return all;
}

} // namespace brimwarden::server::handler
