#include "analysis/links/uri_list.h"

#include <iterator>
#include <utility>

namespace brimwarden::analysis {

using tackle::wstring;
using tackle::wstring_view;

void uri_list::add(wstring_view value, wstring_view input) {
    auto behind = shortest_.upper_bound(value);
    if (begins_with_one(value, behind)) return;
    while (behind != shortest_.end() && behind->first.starts_with(value)) {
        behind->second->erased = true;
        behind = shortest_.erase(behind);
    }
    auto& details = append(value, behind).details;
    if (!with_details_) return;
    constexpr wstring_view label = u"Input: \"";
    details.reserve(label.size() + input.size() + 1);
    details.append(label).append(input).append(u"\"");
}

void uri_list::add_beside(wstring_view value) {
    auto behind = shortest_.upper_bound(value);
    if (begins_with_one(value, behind)) return;
    while (behind != shortest_.end() && behind->first.starts_with(value))
        behind = shortest_.erase(behind);
    append(value, behind);
}

void uri_list::erase(wstring_view prefix) {
    for (auto& one : entries_) {
        if (wstring_view(one.record.value).starts_with(prefix)) one.erased = true;
    }
    std::erase_if(shortest_, [](const auto& one) { return one.second->erased; });
}

void uri_list::move_to(signature_list& signatures) {
    signatures.reserve(signatures.size() + entries_.size());
    for (auto& one : entries_) {
        if (!one.erased) signatures.push_back(std::move(one.record));
    }
    shortest_.clear();
    entries_.clear();
}

bool uri_list::begins_with_one(wstring_view value, shortest_map::const_iterator behind) const {
    return behind != shortest_.begin() && value.starts_with(std::prev(behind)->first);
}

signature_record& uri_list::append(wstring_view value, shortest_map::const_iterator behind) {
    auto& added = entries_.emplace_back(entry{signature_record(u"tru", wstring(value))});
    shortest_.emplace_hint(behind, added.record.value, &added);
    return added.record;
}

} // namespace brimwarden::analysis
