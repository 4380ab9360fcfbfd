#pragma once

#include "community/wire/credentials.h"
#include "community/wire/packet.h"

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

} // namespace brimwarden::analysis::community
