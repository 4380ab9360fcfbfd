#include "network/tls/posix/failure.h"

#include <openssl/err.h>
#include <openssl/sslerr.h>
#include <openssl/x509_vfy.h>

namespace tackle::internet::transport::tcp::tls {

namespace {

constexpr status insufficient_memory = 0x80090300;
constexpr status internal_error = 0x80090304;
constexpr status message_altered = 0x8009030F;
constexpr status untrusted_root = 0x80090325;
constexpr status illegal_message = 0x80090326;
constexpr status certificate_unknown = 0x80090327;
constexpr status certificate_expired = 0x80090328;
constexpr status algorithm_mismatch = 0x80090331;

status refusal(long verdict) {
    switch (verdict) {
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
        return wrong_principal;
    case X509_V_ERR_CERT_NOT_YET_VALID:
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return certificate_expired;
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        return untrusted_root;
    default:
        return certificate_unknown;
    }
}

status meaning_of(unsigned long error) {
    const int reason = ERR_GET_REASON(error);
    if (reason == ERR_R_MALLOC_FAILURE) return insufficient_memory;
    if (ERR_GET_LIB(error) != ERR_LIB_SSL) return static_cast<status>(error);
    if (reason >= SSL_AD_REASON_OFFSET) return illegal_message; // the peer sent an alert
    switch (reason) {
    case SSL_R_DECRYPTION_FAILED_OR_BAD_RECORD_MAC:
        return message_altered;
    case SSL_R_WRONG_VERSION_NUMBER:
    case SSL_R_HTTP_REQUEST:
    case SSL_R_UNEXPECTED_MESSAGE:
        return illegal_message;
    case SSL_R_NO_SHARED_CIPHER:
    case SSL_R_UNSUPPORTED_PROTOCOL:
        return algorithm_mismatch;
    default:
        return static_cast<status>(error);
    }
}

} // namespace

status take_failure() {
    const unsigned long error = ERR_peek_last_error(); // what the layer of TLS made of those below
    ERR_clear_error();
    return error == 0 ? internal_error : meaning_of(error);
}

status take_failure(const SSL* connection) {
    if (ERR_GET_REASON(ERR_peek_last_error()) != SSL_R_CERTIFICATE_VERIFY_FAILED) return take_failure();
    ERR_clear_error();
    return refusal(SSL_get_verify_result(connection));
}

} // namespace tackle::internet::transport::tcp::tls
