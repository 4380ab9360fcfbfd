#pragma once

#include "network/tls_provider.h"

#include <openssl/ssl.h>

namespace tackle::internet::transport::tcp::tls {

// What OpenSSL's queue of errors says about the last call of this thread; empties the queue. Never ok.
[[nodiscard]] status take_failure();
// The same for a call on a connection, where a refused certificate tells its own reason.
[[nodiscard]] status take_failure(const SSL* connection);

} // namespace tackle::internet::transport::tcp::tls
