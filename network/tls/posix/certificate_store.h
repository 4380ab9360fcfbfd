#pragma once

#include "foundation/text/text.h"
#include "network/tls/posix/owners.h"

#include <vector>

namespace tackle::internet::transport::tcp::tls {

struct stored_certificate {
    owned_certificate certificate;
    owned_key key;                        // null if none lies where it should
    std::vector<owned_certificate> chain; // the other certificates of the file, in its order
};

// Looks for the certificate as ssl::credentials tells; `out` stays empty if there is none. Returns 0, or the system's
// error number if the file or directory cannot be read.
[[nodiscard]] int find_certificate(const string& subject, const string& store, stored_certificate& out);

} // namespace tackle::internet::transport::tcp::tls
