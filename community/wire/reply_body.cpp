#include "community/wire/reply_body.h"

#include "community/errors.h"
#include "foundation/text/unicode.h"

#include <set>

namespace brimwarden::analysis::community {

namespace {

constexpr std::uint64_t ignored_flag = 1;
constexpr std::uint64_t whitelisted_flag = 2;
constexpr std::uint64_t blacklisted_flag = 4;

void read(packet& reply, std::uint64_t& value) {
    if (!reply.read_number(value)) throw protocol_error("truncated response");
}

using identity_set = std::set<std::uint64_t>; // a tree: whoever chooses the numbers could choose them against a hash

void read_entry(packet& reply, signature_record& record, identity_set& identities) {
    std::uint64_t length = 0;
    read(reply, length);
    record.matched = length != 0;
    if (length == 0) return;
    if (length > record.value.size()) throw protocol_error("match length mismatch");
    record.value.resize(length);
    read(reply, record.id);
    if (!identities.insert(record.id).second) throw protocol_error("duplicate identity");
    read(reply, record.age);
    std::uint64_t flags = 0;
    read(reply, flags);
    record.ignored = (flags & ignored_flag) != 0;
    record.whitelisted = (flags & whitelisted_flag) != 0;
    record.blacklisted = (flags & blacklisted_flag) != 0;
    read(reply, record.reports);
    read(reply, record.revokes);
    read(reply, record.touches);
}

} // namespace

void read_query(packet& reply, signature_list& signatures) {
    identity_set identities;
    for (auto& record : signatures)
        read_entry(reply, record, identities);
    expect_end(reply);
}

void expect_end(const packet& reply) {
    if (reply.read_position != reply.body.size()) throw protocol_error("excess response length");
}

bool read_status(packet& reply, server_status& status) {
    constexpr std::uint32_t utf8 = 65001;
    for (auto* text : {&status.name, &status.location, &status.info}) {
        string bytes;
        if (!reply.read_text(bytes)) return false;
        *text = tackle::unicode::to_wide(bytes, utf8);
    }
    for (auto& counter : status.counters)
        if (!reply.read_number(counter)) return false;
    return true;
}

void write_unknown(packet& reply) { reply.write_number(0); }

void write_known(packet& reply, const known_entry& entry) {
    const std::uint64_t flags = (entry.ignored ? ignored_flag : 0) | (entry.whitelisted ? whitelisted_flag : 0) |
                                (entry.blacklisted ? blacklisted_flag : 0);
    for (const auto number :
         {entry.length, entry.identity, entry.age, flags, entry.reports, entry.revokes, entry.touches})
        reply.write_number(number);
}

} // namespace brimwarden::analysis::community
