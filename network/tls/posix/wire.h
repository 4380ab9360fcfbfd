#pragma once

#include "foundation/text/text.h"

#include <openssl/bio.h>

namespace tackle::internet::transport::tcp::tls {

// What an OpenSSL connection reads from and writes to, without a copy on the way.
struct wire {
    string_view incoming; // taken off the front by reads; a read of nothing asks to be tried again
    string outgoing;      // appended to by writes
};

// Null if there is no memory. Owns nothing: the wire has to outlive it.
[[nodiscard]] BIO* make_wire_bio(wire& ends) noexcept;

} // namespace tackle::internet::transport::tcp::tls
