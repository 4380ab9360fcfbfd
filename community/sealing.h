#pragma once

#include "community/credentials.h"
#include "community/request.h"

namespace brimwarden::analysis::community {

// Turns the payload in the request's outgoing body into a sealed body: mode and id as numbers, 16 bytes of digest, the
// payload, enciphered where the packet says so. The digest is MD5 over nonce, secret and the payload as it goes out;
// the key of the cipher, kept in the request, is MD5 over nonce and secret. The first 4096 bytes of the key stream are
// not used. Once per request. Throws tackle::unicode::generic for a secret that is no text.
void seal(request& sealed, const community_credentials& credentials);

// Deciphers the body of the response in place, if it is enciphered; that takes the request's own key and the same key
// stream again. Throws protocol_error for an enciphered answer to a request without a key.
void open_response(request& answered);

} // namespace brimwarden::analysis::community
