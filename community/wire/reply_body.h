#pragma once

#include "community/wire/packet.h"
#include "findings/signature_record.h"

// The payloads of the replies, read from the packet's read position on. A hostile server writes these bytes.
namespace brimwarden::analysis::community {

inline constexpr std::size_t longest_query_entry = 70; // seven numbers of 64 bits in groups of seven

// One entry for each signature, in the list's order, and nothing behind them. Throws protocol_error at the first thing
// that is wrong: what stands before it has been written by then, the records behind it are untouched.
void read_query(packet& reply, signature_list& signatures);

// Throws protocol_error unless nothing is left in the body.
void expect_end(const packet& reply);

// What a server says of itself.
struct server_status {
    tackle::wstring name;
    tackle::wstring location;
    tackle::wstring info;
    std::array<std::uint64_t, 4> counters{};
};

// Three texts and four numbers. False if one is missing: those before it have been written. Invalid UTF-8 is replaced.
// Bytes after them are ignored.
[[nodiscard]] bool read_status(packet& reply, server_status& status);

// The server's side. What is known of one signature of a query; the client's record says what the numbers mean.
struct known_entry {
    std::uint64_t length = 0; // of the beginning that is known, as client_length counts; not 0
    std::uint64_t identity = 0;
    std::uint64_t age = 0;
    bool ignored = false;
    bool whitelisted = false;
    bool blacklisted = false;
    std::uint64_t reports = 0;
    std::uint64_t revokes = 0;
    std::uint64_t touches = 0;
};

void write_unknown(packet& reply);
void write_known(packet& reply, const known_entry& entry);

} // namespace brimwarden::analysis::community
