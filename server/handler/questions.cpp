#include "server/handler/questions.h"

#include "analysis/links/uri_extraction.h"
#include "foundation/text/unicode.h"
#include "server/handler/beginnings.h"

#include <unordered_set>

namespace brimwarden::server::handler {

using analysis::community::client_length;
using analysis::community::wire_signature;
using judgement::signature_code;
using judgement::verdict;
using knowledge::identify;
using knowledge::identity;

// Identities are a keyed hash, so nobody can choose them against this set.
class questions::used_identities {
public:
    bool take(identity id) { return used_.insert(id).second; }

private:
    std::unordered_set<identity> used_;
};

judgement::evidence questions::look_up(identity id, signature_code kind, knowledge::record& record) const {
    const auto found = table_.find(id);
    if (!found) return {};
    record = *found;
    return record.evidence_at(clock_.now(), settings_.half_life(kind));
}

void questions::fill(finding& found, const knowledge::record& record, identity id, std::size_t length) const {
    auto& entry = found.entry;
    const auto counted = judgement::express(found.result.answer, found.known);
    entry.length = length;
    entry.identity = id;
    const std::int64_t age = clock_.now() - record.first;
    entry.age = record.first == 0 || age < 0 ? 0 : static_cast<std::uint64_t>(age) / 3600;
    entry.ignored = found.result.answer == verdict::ignored;
    entry.whitelisted = found.result.answer == verdict::white;
    entry.blacklisted = found.result.answer == verdict::black;
    entry.reports = counted.reports;
    entry.revokes = counted.revokes;
    entry.touches = record.touches;
}

finding questions::judge_plain(const wire_signature& asked) const {
    finding found;
    knowledge::record record;
    const identity id = identify(key_, asked.code, asked.value);
    found.known = look_up(id, asked.code, record);
    found.result = judgement::judge(asked.code, found.known, settings_.rules);
    found.matched = asked.value;
    fill(found, record, id, client_length(asked));
    return found;
}

finding questions::judge_link(const wire_signature& asked, used_identities& used) const {
    const auto parts = beginnings_of(asked.value);
    std::vector<judgement::beginning> known;
    std::vector<knowledge::record> records(parts.size());
    std::vector<identity> ids;
    for (const auto& part : parts) {
        ids.push_back(identify(key_, asked.code, part.text));
        known.push_back({look_up(ids.back(), asked.code, records[known.size()]), part.has_path});
    }
    const bool bulk = analysis::is_bulk_uri(tackle::unicode::to_wide(asked.value, 65001));
    const auto judged = judgement::judge_link(known, bulk, judgement::warmth(table_.questions()), settings_.rules);
    finding found{judged.result, known[judged.beginning].known, {}, {}};
    std::size_t answered = judged.beginning;
    found.matched = parts[answered].text;
    if (judged.result.answer == verdict::unknown) return found;
    while (!used.take(ids[answered]))
        if (++answered == ids.size()) {
            found.result = {verdict::unknown, "known by another link of the message"};
            return found;
        }
    const wire_signature matched{asked.code, std::string(parts[answered].text)};
    fill(found, records[judged.beginning], ids[answered], client_length(matched));
    return found;
}

std::vector<finding> questions::answer(const std::vector<wire_signature>& asked) const {
    std::vector<finding> all;
    all.reserve(asked.size());
    used_identities used;
    for (const auto& one : asked) {
        if (one.code == signature_code::link) {
            all.push_back(judge_link(one, used));
            continue;
        }
        finding found = judge_plain(one);
        // A client sends no value twice, but one that is not ours may.
        if (found.result.answer != verdict::unknown && !used.take(found.entry.identity))
            found.result = {verdict::unknown, "asked twice"};
        all.push_back(std::move(found));
    }
    return all;
}

void questions::note(const std::vector<wire_signature>& asked, std::uint32_t mailbox) {
    table_.count_question();
    const std::uint64_t hash = knowledge::mailbox_hash(key_, mailbox);
    for (const auto& one : asked) {
        if (one.code != signature_code::link) {
            table_.see(identify(key_, one.code, one.value), one.code, hash);
            continue;
        }
        for (const auto& part : beginnings_of(one.value))
            table_.see(identify(key_, one.code, part.text), one.code, hash);
    }
}

} // namespace brimwarden::server::handler
