#pragma once

#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <memory>

namespace tackle::internet::transport::tcp::tls {

template <auto release>
struct releases {
    template <typename kind>
    void operator()(kind* held) const noexcept {
        release(held);
    }
};
using owned_bio = std::unique_ptr<BIO, releases<BIO_free>>;
using owned_certificate = std::unique_ptr<X509, releases<X509_free>>;
using owned_context = std::unique_ptr<SSL_CTX, releases<SSL_CTX_free>>;
using owned_key = std::unique_ptr<EVP_PKEY, releases<EVP_PKEY_free>>;
using owned_ssl = std::unique_ptr<SSL, releases<SSL_free>>;

} // namespace tackle::internet::transport::tcp::tls
