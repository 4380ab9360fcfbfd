#pragma once

#include "community/wire/signature.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace brimwarden::server::knowledge {

// The community's number of a signature: 63 bits, so that a number on the wire takes nine bytes and not ten.
using identity = std::uint64_t;

// The secret that all servers of one community share. Without it nobody can look for signatures that meet in one
// identity, or tell from an identity what it stands for.
using identity_key = std::array<std::uint8_t, 16>;

// SipHash-2-4.
[[nodiscard]] std::uint64_t keyed_hash(const identity_key& key, std::string_view bytes);

[[nodiscard]] identity identify(const identity_key& key, analysis::community::signature_code code,
                                std::string_view value);

// What stands for a mailbox where only its being another one counts.
[[nodiscard]] std::uint64_t mailbox_hash(const identity_key& key, std::uint32_t mailbox);

} // namespace brimwarden::server::knowledge
