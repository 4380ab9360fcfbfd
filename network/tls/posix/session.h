#pragma once

#include "network/tls/posix/owners.h"
#include "network/tls/posix/wire.h"
#include "network/tls_provider.h"

namespace tackle::internet::transport::tcp::tls {

enum class role : std::uint8_t { client, server };

// One OpenSSL connection over memory.
class openssl_session final : public session {
public:
    // The connection keeps what it needs of the context alive. A failure waits for the first step.
    openssl_session(SSL_CTX* context, role side, const string& principal);

    status step(std::span<char> received, std::size_t& used, string& token) override;
    status read_connection_info() override { return ok; } // OpenSSL has both at hand at any time
    status read_stream_sizes() override { return ok; }
    std::size_t largest_message() const override { return SSL3_RT_MAX_PLAIN_LENGTH; }
    status encrypt(string_view piece, string& block) override;
    status decrypt(std::span<char> received, std::size_t& used, string& plain, string& reply) override;

private:
    status expect(const string& principal);
    static void watch(int sent, int version, int type, const void* bytes, std::size_t size, SSL* connection,
                      void* self);

    wire ends_; // before the connection, which writes to it till its end
    owned_ssl connection_;
    status broken_ = ok; // what the next call comes to
    bool open_ = false;
};

} // namespace tackle::internet::transport::tcp::tls
