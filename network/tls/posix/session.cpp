#include "network/tls/posix/session.h"

#include "network/tls/posix/failure.h"

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include <utility>

namespace tackle::internet::transport::tcp::tls {

openssl_session::openssl_session(SSL_CTX* context, role side, const string& principal) : connection_(SSL_new(context)) {
    BIO* const bio = connection_ ? make_wire_bio(ends_) : nullptr;
    if (bio == nullptr) {
        broken_ = take_failure();
        return;
    }
    SSL_set_bio(connection_.get(), bio, bio);
    SSL_set_msg_callback(connection_.get(), watch);
    SSL_set_msg_callback_arg(connection_.get(), this);
    if (side == role::server) {
        SSL_set_accept_state(connection_.get());
        return;
    }
    SSL_set_connect_state(connection_.get());
    if (!principal.empty()) broken_ = expect(principal);
}

status openssl_session::expect(const string& principal) {
    // OpenSSL takes this for any name below a domain, so that whoever has one of them would pass for the peer.
    if (principal.front() == '.') return target_unknown;
    SSL_set_verify(connection_.get(), SSL_VERIFY_PEER, nullptr);
    X509_VERIFY_PARAM* const expected = SSL_get0_param(connection_.get());
    if (X509_VERIFY_PARAM_set1_ip_asc(expected, principal.c_str()) == 1) return ok; // an address is no server name
    ERR_clear_error();
    X509_VERIFY_PARAM_set_hostflags(expected, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    const bool done = X509_VERIFY_PARAM_set1_host(expected, principal.data(), principal.size()) == 1 &&
                      SSL_set_tlsext_host_name(connection_.get(), principal.c_str()) == 1;
    ERR_clear_error();
    return done ? ok : target_unknown;
}

// OpenSSL refuses a new handshake with a warning and goes on; here it ends the connection, and only the messages
// themselves tell that there was a wish. TLS 1.3 has other messages behind its handshake, and no such wish.
void openssl_session::watch(int sent, int, int type, const void*, std::size_t, SSL* connection, void* self) {
    auto& owner = *static_cast<openssl_session*>(self);
    if (sent == 0 && type == SSL3_RT_HANDSHAKE && owner.open_ && SSL_version(connection) < TLS1_3_VERSION)
        owner.broken_ = renegotiate;
}

status openssl_session::step(std::span<char> received, std::size_t& used, string& token) {
    token.clear();
    if (broken_ != ok) return broken_;
    ERR_clear_error();
    ends_.incoming = {received.data(), received.size()};
    const int result = SSL_do_handshake(connection_.get());
    used = received.size() - ends_.incoming.size();
    ends_.outgoing.swap(token);
    if (result == 1) {
        open_ = true;
        return ok;
    }
    if (SSL_get_error(connection_.get(), result) == SSL_ERROR_WANT_READ) return continue_needed;
    return broken_ = take_failure(connection_.get());
}

status openssl_session::encrypt(string_view piece, string& block) {
    block.clear();
    if (broken_ != ok) return broken_;
    ERR_clear_error();
    std::size_t written = 0;
    const bool done = SSL_write_ex(connection_.get(), piece.data(), piece.size(), &written) == 1;
    ends_.outgoing.swap(block);
    return done ? ok : broken_ = take_failure();
}

status openssl_session::decrypt(std::span<char> received, std::size_t& used, string& plain, string& reply) {
    reply.clear();
    if (broken_ != ok) return broken_;
    ERR_clear_error();
    ends_.incoming = {received.data(), received.size()};
    char block[SSL3_RT_MAX_PLAIN_LENGTH]; // a whole record, so that nothing stays behind inside the connection
    std::size_t count = 0;
    const int result = SSL_read_ex(connection_.get(), block, sizeof block, &count);
    used = received.size() - ends_.incoming.size();
    ends_.outgoing.swap(reply);
    if (broken_ != ok) return broken_; // watch() has seen something
    if (result == 1) {
        plain.append(block, count);
        return ok;
    }
    switch (SSL_get_error(connection_.get(), result)) {
    case SSL_ERROR_WANT_READ:
        return incomplete_message;
    case SSL_ERROR_ZERO_RETURN:
        return context_expired; // of the peer's direction alone
    default:
        return broken_ = take_failure();
    }
}

} // namespace tackle::internet::transport::tcp::tls
