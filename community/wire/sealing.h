#pragma once

#include "community/wire/credentials.h"
#include "community/wire/packet.h"

#include <cstdint>
#include <optional>

namespace brimwarden::analysis::community {

// Turns the payload in the body of a request into a sealed body: mode and id as numbers, 16 bytes of digest, the
// payload, enciphered if the packet says so. The digest is MD5 over nonce, secret and the enciphered payload; the key
// of the cipher is MD5 over nonce and secret. The first 4096 bytes of the key stream are not used. Once per request.
// Returns the key, which is empty for a packet that is not enciphered. A lone surrogate in the secret counts as U+FFFD,
// on both targets.
[[nodiscard]] string seal(packet& request, const community_credentials& credentials);

// Deciphers the body of a response in place, if it is enciphered; that takes the key of the request and the same key
// stream again. Throws protocol_error for an enciphered answer to a request without a key.
void open_response(packet& response, const string& key);

// The server's side: a sealed body taken apart.
struct sealed_body {
    std::uint64_t mode = 0;
    std::uint64_t id = 0;
    string_view digest;
    string_view payload; // enciphered, if the packet says so. Both views lie in the packet's body
};

// nullopt if the body of the request is too short for mode, id and digest.
[[nodiscard]] std::optional<sealed_body> take_apart(packet& request);
// Whether the sender knew the secret, which is in UTF-8. Takes the same time wherever two digests differ.
[[nodiscard]] bool proves(const packet& request, const sealed_body& sealed, string_view secret);
// The payload as it was before it was enciphered with the key of this secret.
[[nodiscard]] string open_payload(const packet& request, const sealed_body& sealed, string_view secret);

} // namespace brimwarden::analysis::community
