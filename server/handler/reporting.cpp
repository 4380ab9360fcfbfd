#include "server/handler/reporting.h"

#include "server/handler/beginnings.h"
#include "server/handler/extraction.h"

#include <algorithm>
#include <cstdlib>
#include <set>

namespace brimwarden::server::handler {

using judgement::signature_code;
using knowledge::identity;
using store::message_state;
using store::reporter_id;
using store::statement;
using tackle::internet::message2::part;

namespace {

// More would only say more often what these say; and one signature may have a hundred thousand.
constexpr std::size_t most_looked_at = 32;
constexpr std::uint32_t few_reporters = 2; // so few may have been wrong together
constexpr std::string_view questions_name = "questions by members";

void add(float& sum, float value) { sum = std::max(0.0F, sum + value); }

} // namespace

struct reporting::pending {
    store::change made;
    std::vector<statement> in;          // what this mailbox says for the first time, or now says otherwise
    std::vector<statement> out;         // what it no longer says
    std::map<reporter_id, float> trust; // new values
    std::set<reporter_id> confirmed, contradicted;
};

reporting::reporting(const settings& chosen, knowledge::table& known, store::store& kept,
                     const knowledge::identity_key& key, const server_clock& clock)
    : settings_(chosen), table_(known), store_(kept), key_(key), clock_(clock) {
    load();
}

void reporting::load() {
    for (const auto& one : store_.load_reporters())
        reporters_[one.id] = one;
    store_.load_signatures([this](const store::signature_row& row) {
        table_.change(row.id, [&](knowledge::record& record) {
            record.kind = row.kind;
            record.whole = row.whole;
            record.marked = row.marked;
            record.first = row.first;
            record.touches = row.touches;
            record.seen.restore(row.seen[0], row.seen[1]);
        });
    });
    store_.load_statements(
        [this](const store::statement_by& one) { count(one.said, one.reporter, true, one.said.at); });
    if (const auto asked = store_.value(questions_name))
        table_.restore_questions(std::strtoull(asked->c_str(), nullptr, 10));
    (void)table_.take_changed(); // the store has all of it
}

float reporting::trust_of(reporter_id who) const {
    if (who == operator_id) return 1;
    const auto found = reporters_.find(who);
    return found == reporters_.end() ? settings_.trust.first : found->second.trust;
}

store::reporter& reporting::reporter_of(reporter_id who) {
    const auto [entry, added] = reporters_.try_emplace(who);
    if (added) entry->second = {who, settings_.trust.first};
    return entry->second;
}

float reporting::strength(const statement& said, reporter_id who, std::int64_t now) const {
    const auto hours = static_cast<float>(now - said.at) / 3600.0F;
    return said.weight * trust_of(who) * judgement::faded(hours, settings_.half_life(said.kind));
}

void reporting::count(const statement& said, reporter_id who, bool in, std::int64_t now) {
    table_.change(said.signature, [&](knowledge::record& record) {
        record.kind = said.kind;
        record.fade(now, settings_.half_life(said.kind));
        // Never fresher than the record, or a clock that went backwards would count it twice as strong when it is
        // taken out again.
        const float value = strength(said, who, std::max<std::int64_t>(now, record.as_of));
        float& sum = said.wanted ? record.revokes : record.reports;
        std::uint32_t& people = said.wanted ? record.revokers : record.reporters;
        add(sum, in ? value : -value);
        if (!said.wanted) add(record.said, (in ? 1.0F : -1.0F) * said.weight * trust_of(who));
        people = in ? people + 1 : people - (people > 0 ? 1 : 0);
        if (people == 0) {
            sum = 0;
            if (!said.wanted) record.said = 0;
        }
        if (!in) return;
        record.as_of = std::max(record.as_of, static_cast<std::uint32_t>(now));
        record.whole = record.whole || (said.whole && !said.wanted);
        if (!said.wanted && record.first == 0) record.first = static_cast<std::uint32_t>(said.at);
    });
}

// All that this reporter has said gets the new weight. Walks the statements of one reporter: trust changes seldom, and
// not at all once it is full.
void reporting::set_trust(reporter_id who, float trust) {
    auto& changed = reporter_of(who);
    const float before = changed.trust;
    if (trust == before) return;
    const auto now = clock_.now();
    for (const auto& said : store_.statements_of(who))
        table_.change(said.signature, [&](knowledge::record& record) {
            record.fade(now, settings_.half_life(said.kind));
            const float unit = strength(said, who, std::max<std::int64_t>(now, record.as_of)) / before;
            add(said.wanted ? record.revokes : record.reports, unit * (trust - before));
            if (!said.wanted) add(record.said, said.weight * (trust - before));
        });
    changed.trust = trust;
}

std::vector<statement> reporting::statements_in(const told& how, std::string_view message) const {
    const auto root = how.rendered ? part::from_rendered(message) : part(message);
    const auto now = clock_.now();
    const float base = how.weight * (how.by_person ? settings_.person_weight : settings_.machine_weight);
    std::vector<statement> all;
    std::set<identity> named;
    for (const auto& [signature, weight] : extract(root)) {
        if (weight <= 0) continue;
        const auto add_one = [&](std::string_view value, bool whole) {
            const identity id = knowledge::identify(key_, signature.code, value);
            if (named.insert(id).second) {
                all.push_back({id, signature.code, whole, how.wanted, base * weight, 1, now});
            } else if (whole) {
                std::ranges::find(all, id, &statement::signature)->whole = true;
            }
        };
        if (signature.code != signature_code::link) {
            add_one(signature.value, true);
            continue;
        }
        for (const auto& one : beginnings_of(signature.value))
            add_one(one.text, one.text.size() == signature.value.size());
    }
    return all;
}

// What becomes of this mailbox's word on each signature.
void reporting::plan(const told& how, message_state before, const std::vector<statement>& said, pending& out) {
    const bool takes_back = how.wanted && before == message_state::reported;
    for (const auto& one : said) {
        const auto own = store_.statement_of(how.reporter, one.signature);
        const bool agrees = own && own->wanted == how.wanted;
        if (agrees) { // one more message for the same word; it stays as old as it is
            statement more = *own;
            ++more.messages;
            more.whole = more.whole || one.whole;
            out.made.said.push_back(more);
        } else if (own && takes_back && own->messages > 1) { // other messages still stand for it
            statement less = *own;
            --less.messages;
            out.made.said.push_back(less);
        } else if (own && how.wanted) { // its own report of the same thing is withdrawn, and nothing more
            out.out.push_back(*own);
            out.made.withdrawn.push_back(one.signature);
        } else if (own) {
            out.out.push_back(*own);
            out.in.push_back(one);
        } else if (!takes_back) {
            out.in.push_back(one);
        }
    }
    out.made.said.insert(out.made.said.end(), out.in.begin(), out.in.end());
}

// A report of what others have reported confirms both sides, once a message. Only text and files count for that: whoever
// wants to be confirmed can put a link of somebody else into a message of his own.
void reporting::confirm(const told& how, const std::vector<statement>& said, pending& out) {
    float best = 0;
    std::set<reporter_id> others;
    std::set<reporter_id> opposed;
    for (const auto& one : said) {
        if (one.kind == signature_code::link || one.kind == signature_code::address) continue;
        const auto record = table_.find(one.signature);
        if (!record || record->reporters + record->revokers == 0) continue;
        const auto known = record->evidence_at(clock_.now(), settings_.half_life(one.kind));
        if (judgement::is_wide(known, settings_.rules)) continue;
        for (const auto& other : store_.statements_on(one.signature, most_looked_at)) {
            if (other.reporter == how.reporter || other.reporter == operator_id) continue;
            if (!other.said.wanted) {
                others.insert(other.reporter);
                best = std::max(best, trust_of(other.reporter));
            } else if (known.reporters > 2 * known.revokers) {
                opposed.insert(other.reporter);
            }
        }
    }
    const float own = trust_of(how.reporter);
    if (!others.empty()) {
        out.trust[how.reporter] = judgement::confirmed(own, best, settings_.trust);
        out.confirmed.insert(how.reporter);
    }
    for (const auto other : others) {
        out.trust[other] = judgement::confirmed(trust_of(other), own, settings_.trust);
        out.confirmed.insert(other);
    }
    for (const auto other : opposed) {
        out.trust[other] = judgement::contradicted(trust_of(other), own, settings_.trust);
        out.contradicted.insert(other);
    }
}

// A revoke of what one or two have condemned tells against them.
void reporting::contradict(const told& how, const std::vector<statement>& said, pending& out) {
    const float own = how.reporter == operator_id ? settings_.trust.most : trust_of(how.reporter);
    for (const auto& one : said) {
        const auto record = table_.find(one.signature);
        if (!record || record->reporters == 0 || record->reporters > few_reporters) continue;
        const auto known = record->evidence_at(clock_.now(), settings_.half_life(one.kind));
        if (judgement::is_wide(known, settings_.rules)) continue;
        for (const auto& other : store_.statements_on(one.signature, most_looked_at))
            if (!other.said.wanted && other.reporter != how.reporter && other.reporter != operator_id)
                out.contradicted.insert(other.reporter);
    }
    for (const auto other : out.contradicted)
        out.trust[other] = judgement::contradicted(trust_of(other), own, settings_.trust);
}

void reporting::take(const told& how, std::string_view message) {
    const auto said = statements_in(how, message);
    const std::uint64_t digest = knowledge::keyed_hash(key_, message) >> 1;
    const std::lock_guard lock(writer_);
    const auto before = store_.state_of(how.reporter, digest);
    if (before == (how.wanted ? message_state::revoked : message_state::reported)) return;

    pending next;
    const bool takes_back = how.wanted && before == message_state::reported;
    next.made = {how.reporter, digest, !how.wanted, how.wanted && !takes_back, recipe, clock_.now(), {}, {}};
    plan(how, before, said, next);
    if (how.reporter != operator_id && !how.wanted) confirm(how, said, next);
    if (how.wanted && !takes_back) contradict(how, said, next);

    write(how, next);
    if (how.reporter == operator_id) return;
    const std::uint64_t mailbox = knowledge::mailbox_hash(key_, how.reporter);
    for (const auto& one : said)
        table_.change(one.signature, [&](knowledge::record& record) { record.seen.add(mailbox); });
}

// The store first: a failure there leaves the table as it was.
void reporting::write(const told& how, const pending& next) {
    std::vector<store::reporter> changed;
    const auto change_of = [&](reporter_id who) {
        store::reporter one = reporter_of(who);
        if (const auto trust = next.trust.find(who); trust != next.trust.end()) one.trust = trust->second;
        one.confirmed += next.confirmed.contains(who) ? 1 : 0;
        one.contradicted += next.contradicted.contains(who) ? 1 : 0;
        if (who == how.reporter) ++(how.wanted ? one.revokes : one.reports);
        changed.push_back(one);
    };
    change_of(how.reporter);
    for (const auto& [who, trust] : next.trust)
        if (who != how.reporter) change_of(who);
    store_.append(next.made, changed);
    for (const auto& one : next.out)
        count(one, how.reporter, false, clock_.now());
    for (const auto& one : next.in)
        count(one, how.reporter, true, clock_.now());
    for (const auto& one : changed) {
        set_trust(one.id, one.trust);
        reporters_[one.id] = one;
    }
}

void reporting::forget(reporter_id who) {
    const std::lock_guard lock(writer_);
    const auto all = store_.statements_of(who);
    store_.forget(who);
    for (const auto& one : all)
        count(one, who, false, clock_.now());
    reporters_.erase(who);
}

void reporting::set_mark(identity signature, signature_code kind, judgement::mark marked, bool force) {
    if (marked == judgement::mark::white && kind != signature_code::address && !force)
        throw mark_refused("white on a link, a text or a file declares every message clean that carries it, spam "
                           "included; use --force if that is meant");
    const std::lock_guard lock(writer_);
    store::signature_row row;
    if (const auto record = table_.find(signature))
        row = {signature,
               kind,
               record->whole,
               marked,
               record->first,
               record->touches,
               {record->seen.word(0), record->seen.word(1)}};
    else
        row = {signature, kind, false, marked, 0, 0, {0, 0}};
    store_.set_mark(row);
    table_.change(signature, [&](knowledge::record& record) {
        record.kind = kind;
        record.marked = marked;
    });
}

void reporting::flush() {
    std::vector<store::signature_row> rows;
    for (const identity id : table_.take_changed())
        if (const auto record = table_.find(id); record && record->has_evidence())
            rows.push_back({id,
                            record->kind,
                            record->whole,
                            record->marked,
                            record->first,
                            record->touches,
                            {record->seen.word(0), record->seen.word(1)}});
    const std::string asked = std::to_string(table_.questions());
    const std::lock_guard lock(writer_);
    if (asked != saved_questions_) {
        store_.set_value(questions_name, asked);
        saved_questions_ = asked;
    }
    if (!rows.empty()) store_.save_signatures(rows);
}

std::vector<store::reporter> reporting::reporters() const {
    const std::lock_guard lock(writer_);
    std::vector<store::reporter> all;
    for (const auto& [id, one] : reporters_)
        all.push_back(one);
    return all;
}

} // namespace brimwarden::server::handler
