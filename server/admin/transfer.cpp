#include "server/admin/transfer.h"

#include <nlohmann/json.hpp>

namespace brimwarden::server::admin {

using json = nlohmann::json;
using judgement::signature_code;

namespace {

constexpr int format = 1;

// Tells communities apart, and says nothing of the key.
std::uint64_t fingerprint(const knowledge::identity_key& key) { return knowledge::keyed_hash(key, "export"); }

signature_code kind_of(const json& number) {
    const auto kind = static_cast<signature_code>(number.get<std::uint64_t>());
    switch (kind) {
    case signature_code::blocks:
    case signature_code::structure:
    case signature_code::lengths:
    case signature_code::address:
    case signature_code::link:
    case signature_code::part:
    case signature_code::part_as_sent:
        return kind;
    }
    throw bad_transfer("a signature of an unknown kind");
}

store::identity identity_of(const json& number) {
    const auto id = number.get<std::uint64_t>();
    if (!number.is_number_unsigned() || id >> 63 != 0) throw bad_transfer("not an identity");
    return id;
}

} // namespace

json head_line(const knowledge::identity_key& key) { return {{"format", format}, {"community", fingerprint(key)}}; }

json line_of(const store::signature_row& marked) {
    return {{"mark", {marked.id, marked.kind, marked.whole, marked.marked, marked.first}}};
}

json line_of(const store::reporter& one) {
    return {{"reporter", {one.id, one.trust, one.reports, one.revokes, one.confirmed, one.contradicted}}};
}

json line_of(const store::statement_by& one) {
    const auto& said = one.said;
    return {{"statement",
             {said.signature, one.reporter, said.kind, said.whole, said.wanted, said.weight, said.messages, said.at}}};
}

void transfer::take(const json& line) {
    if (!begun_) {
        if (line.at("format") != format) throw bad_transfer("the export of another version");
        if (line.at("community") != fingerprint(key_))
            throw bad_transfer("the export of another community: its servers have another identity key, and what it "
                               "knows can be of no use here");
        begun_ = true;
        return;
    }
    if (const auto found = line.find("statement"); found != line.end()) {
        const auto& row = *found;
        store::statement_by one;
        one.reporter = row.at(1);
        one.said = {identity_of(row.at(0)), kind_of(row.at(2)), row.at(3), row.at(4), row.at(5), row.at(6), row.at(7)};
        if (!(one.said.weight >= 0 && one.said.weight <= 1e6F)) throw bad_transfer("a weight out of its range");
        taken_.statements.push_back(one);
    } else if (const auto reporter = line.find("reporter"); reporter != line.end()) {
        const auto& row = *reporter;
        store::reporter one{row.at(0), row.at(1), row.at(2), row.at(3), row.at(4), row.at(5)};
        if (!(one.trust >= 0 && one.trust <= 100)) throw bad_transfer("a trust out of its range");
        taken_.reporters.push_back(one);
    } else {
        const auto& row = line.at("mark");
        const auto how = row.at(3).get<unsigned>();
        if (how > static_cast<unsigned>(judgement::mark::white)) throw bad_transfer("an unknown mark");
        taken_.marks.push_back({identity_of(row.at(0)),
                                kind_of(row.at(1)),
                                row.at(2),
                                static_cast<store::mark>(how),
                                row.at(4),
                                0,
                                {0, 0}});
    }
}

} // namespace brimwarden::server::admin
