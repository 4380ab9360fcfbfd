#pragma once

#include "community/wire/signature.h"
#include "message/part.h"

#include <cstdint>
#include <vector>

namespace brimwarden::server::handler {

// The version of the rules by which messages become signatures. It is kept with every report; raise it when a change
// of the library makes other signatures of the same message.
inline constexpr std::uint32_t recipe = 1;

struct extracted {
    analysis::community::wire_signature signature;
    float weight = 1; // as evidence; 0 for what is no evidence at all
};

// The signatures of a message, made as a scan makes them, each with its weight as evidence:
//
// - 0 for digests of too little: a text of a few letters, a file of a few bytes. Too many messages share them.
// - little for all of a message that is judged by a message inside it. Whoever makes a delivery report around somebody's
//   newsletter and reports it has reported the newsletter.
// - less than 1 for each link among many: a message that links to many hosts says little about each.
[[nodiscard]] std::vector<extracted> extract(const tackle::internet::message2::part& message);

} // namespace brimwarden::server::handler
