#include "network/tls/posix/certificate_store.h"
#include "network/tls/posix/failure.h"
#include "network/tls/posix/session.h"

#include <openssl/err.h>

namespace tackle::internet::transport::tcp::tls {

namespace {

constexpr status certificate_not_there = 0x80092004; // of the search in a store
constexpr status no_credentials = 0x8009030E;

class openssl_identity final : public identity {
public:
    explicit openssl_identity(owned_context context) : context_(std::move(context)) {}
    std::unique_ptr<session> connect(const string& principal) override {
        return std::make_unique<openssl_session>(context_.get(), role::client, principal);
    }
    std::unique_ptr<session> accept() override {
        return std::make_unique<openssl_session>(context_.get(), role::server, string());
    }

private:
    owned_context context_;
};

owned_context make_context(const SSL_METHOD* method) {
    owned_context context(SSL_CTX_new(method));
    if (!context) return context;
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION);
    // Zero stands for the lowest there is; a system that asks for more than we do gets it.
    const bool low = SSL_CTX_get_min_proto_version(context.get()) < TLS1_2_VERSION;
    if (low && SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1) context.reset();
    return context;
}

identity_result failure(identity_step step, status number) { return {step, number, nullptr}; }

bool show(SSL_CTX* context, const stored_certificate& stored) {
    if (SSL_CTX_use_certificate(context, stored.certificate.get()) != 1) return false;
    for (const auto& issuer : stored.chain)
        if (SSL_CTX_add1_chain_cert(context, issuer.get()) != 1) return false;
    return SSL_CTX_use_PrivateKey(context, stored.key.get()) == 1; // which also compares the two
}

} // namespace

identity_result client_identity() {
    ERR_clear_error();
    auto context = make_context(TLS_client_method());
    if (!context || SSL_CTX_set_default_verify_paths(context.get()) != 1)
        return failure(identity_step::acquire, take_failure());
    return {identity_step::none, ok, std::make_shared<openssl_identity>(std::move(context))};
}

identity_result server_identity(const string& subject, const string& store) {
    ERR_clear_error();
    stored_certificate stored;
    if (const int error = find_certificate(subject, store, stored); error != 0)
        return failure(identity_step::open_store, static_cast<status>(error));
    ERR_clear_error(); // what else lies in the store is nobody's failure
    if (!stored.certificate) return failure(identity_step::find_certificate, certificate_not_there);
    if (!stored.key) return failure(identity_step::acquire, no_credentials);
    auto context = make_context(TLS_server_method());
    if (!context || !show(context.get(), stored)) return failure(identity_step::acquire, take_failure());
    return {identity_step::none, ok, std::make_shared<openssl_identity>(std::move(context))};
}

} // namespace tackle::internet::transport::tcp::tls
