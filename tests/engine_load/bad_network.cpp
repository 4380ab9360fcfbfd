#include "tests/engine_load/bad_network.h"

#include "foundation/sync/scope.h"
#include "foundation/text/unicode.h"

#include <algorithm>

using brimwarden::community_server::asked_signature;
using brimwarden::community_server::ip4;
using brimwarden::community_server::packet;
using tackle::scope;

std::uint64_t hash_of(std::string_view bytes, std::uint64_t start) {
    std::uint64_t hash = start ^ 0xCBF29CE484222325;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<std::uint8_t>(byte)) * 0x100000001B3; // FNV-1a
    return hash ^ hash >> 29;
}

namespace {

constexpr std::uint64_t query_operation = 2;
constexpr std::uint64_t update_operation = 3;
constexpr std::uint8_t last_attempt = 7;
constexpr std::uint8_t first_connection_attempt = 2;

// How many characters the client counts in a value; 0 where that cannot be told from the wire.
std::uint64_t length_of(const asked_signature& asked) {
    constexpr std::uint64_t address = 0;
    constexpr std::uint64_t link = 64;
    constexpr std::uint64_t word_lengths = 65;
    constexpr std::uint64_t digest_length = 22;
    if (asked.code == link) return tackle::unicode::to_wide(asked.value, 65001).size();
    if (asked.code == word_lengths) return 0;
    if (asked.code != address) return digest_length;
    std::string dotted;
    for (const char byte : asked.value)
        dotted += std::to_string(static_cast<std::uint8_t>(byte)) + ".";
    return dotted.size() - 1;
}

} // namespace

bad_network::behaviour bad_network::operator()(server& self, const seen_request& request) {
    behaviour reply;
    if (request.header.operation == 0) {
        reply = self.honest(request);
        if (!request.by_connection) reply.delay_ms = distance_ms_;
        return reply;
    }
    if (!request.digest_good) ++mixed_up;
    if (!request.by_connection) count_repetition(request);
    if (request.header.operation == query_operation) {
        reply = answer_query(self, request);
    } else {
        if (!(request.header.operation == update_operation ? update_fits(request) : message_fits(request))) ++mixed_up;
        reply = self.honest(request);
    }
    spoil(request, reply);
    return reply;
}

void bad_network::count_repetition(const seen_request& request) {
    const auto& header = request.header;
    const std::string one = std::string(header.nonce.data(), header.nonce.size()) + static_cast<char>(header.attempt);
    const scope lock(&lock_);
    if (std::ranges::count(recent_, one) != 0) ++repeated;
    recent_.push_back(one);
    if (recent_.size() > 64) recent_.pop_front();
}

bad_network::behaviour bad_network::answer_query(server& self, const seen_request& request) {
    packet entries;
    identity_list given;
    for (const auto& asked : brimwarden::community_server::signatures_of(request)) {
        const std::uint64_t hash = hash_of(asked.value, asked.code);
        const std::uint64_t length = length_of(asked);
        if (length == 0 || hash % 5 == 0) {
            entries.write_number(0);
            continue;
        }
        given.push_back(hash >> 1);
        const std::uint64_t ignored = (hash >> 8 & 15) == 0 ? 1 : 0;
        for (const std::uint64_t number :
             {length, hash >> 1, hash % 1000, ignored, hash >> 12 & 63, hash >> 20 & 3, hash >> 24 & 1023})
            entries.write_number(number);
    }
    const scope lock(&lock_);
    auto& before = last_told_[request.credential_mode];
    before[request.credential_id] = std::move(given);
    if (before.size() > 8) before.erase(before.begin());
    return {{{self.enciphered_reply_to(request, entries.body)}}};
}

// Tells the identities of the query before it, and no others.
bool bad_network::update_fits(const seen_request& request) {
    packet payload;
    payload.body = request.payload;
    std::uint64_t score = 0;
    std::uint64_t count = 0;
    if (!payload.read_number(score) || score > 100 || !payload.read_number(count)) return false;
    const scope lock(&lock_);
    const told& before = last_told_[request.credential_mode];
    const auto scan = before.find(request.credential_id);
    if (scan == before.end()) return false;
    if (scan->second.size() != count) return false;
    for (const std::uint64_t expected : scan->second)
        if (std::uint64_t identity = 0; !payload.read_number(identity) || identity != expected) return false;
    return payload.read_position == payload.body.size();
}

bool bad_network::message_fits(const seen_request& request) {
    if (request.credential_mode != report_mode || request.payload.empty()) return false;
    const std::uint64_t hash = hash_of(std::string_view(request.payload).substr(1)); // behind the flag
    const scope lock(&lock_);
    return messages_.try_emplace(request.credential_id, hash).first->second == hash;
}

void bad_network::spoil(const seen_request& request, behaviour& reply) {
    const std::uint64_t turn = turn_++;
    const std::uint64_t chance = hash_of({reinterpret_cast<const char*>(&turn), sizeof turn}) % 1000;
    const bool waits_shortly = request.by_connection || request.header.attempt >= first_connection_attempt;
    if (!request.by_connection) reply.delay_ms = distance_ms_;
    if (request.header.attempt >= last_attempt) return;
    if (chance < 100) {
        ++lost;
        reply.answers.clear();
    } else if (chance < 200) {
        ++late;
        // Some datagrams come when nobody waits any more. Connections keep below what the library waits at least.
        reply.delay_ms += static_cast<std::uint32_t>(1 + chance % (waits_shortly ? 50 : 200));
    } else if (chance < 250 && !request.by_connection) {
        ++doubled;
        reply.answers.push_back(reply.answers.front());
    }
}
