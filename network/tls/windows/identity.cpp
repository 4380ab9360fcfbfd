#include "network/tls/windows/session.h"

#include <wincrypt.h>

#include <utility>

namespace tackle::internet::transport::tcp::tls {

namespace {

class schannel_identity final : public identity {
public:
    explicit schannel_identity(std::shared_ptr<credentials_handle> shown) : shown_(std::move(shown)) {}
    std::unique_ptr<session> connect(const string& principal) override {
        return std::make_unique<client_session>(shown_, principal);
    }
    std::unique_ptr<session> accept() override { return std::make_unique<server_session>(shown_); }

private:
    std::shared_ptr<credentials_handle> shown_;
};

identity_result failure(identity_step step, status number) { return {step, number, nullptr}; }

// A null certificate is a client that shows none.
identity_result acquire(ULONG use, PCCERT_CONTEXT certificate) {
    ALG_ID algorithms[] = {CALG_RSA_KEYX, CALG_DH_EPHEM};
    SCHANNEL_CRED wish = {}; // which leaves the protocol versions to the system
    wish.dwVersion = SCHANNEL_CRED_VERSION;
    wish.cCreds = certificate != nullptr ? 1 : 0;
    wish.paCred = certificate != nullptr ? &certificate : nullptr;
    wish.cSupportedAlgs = 2;
    wish.palgSupportedAlgs = algorithms;
    wish.dwFlags = SCH_CRED_NO_DEFAULT_CREDS;
    char package[] = "Microsoft Unified Security Protocol Provider";
    auto shown = std::make_shared<credentials_handle>();
    CredHandle made = no_handle;
    const SECURITY_STATUS result =
        AcquireCredentialsHandleA(nullptr, package, use, nullptr, &wish, nullptr, nullptr, &made, nullptr);
    if (result != SEC_E_OK) return failure(identity_step::acquire, static_cast<status>(result));
    shown->handle = made;
    return {identity_step::none, ok, std::make_shared<schannel_identity>(std::move(shown))};
}

struct system_store {
    explicit system_store(const string& name)
        : handle(CertOpenStore(CERT_STORE_PROV_SYSTEM_REGISTRY_A, 0, 0,
                               CERT_SYSTEM_STORE_LOCAL_MACHINE | CERT_STORE_READONLY_FLAG, name.c_str())) {}
    ~system_store() {
        if (handle != nullptr) CertCloseStore(handle, 0);
    }
    system_store(const system_store&) = delete;
    system_store& operator=(const system_store&) = delete;
    [[nodiscard]] bool close() { return CertCloseStore(std::exchange(handle, nullptr), 0) != FALSE; }
    HCERTSTORE handle;
};

struct found_certificate {
    explicit found_certificate(PCCERT_CONTEXT found) : context(found) {}
    ~found_certificate() {
        if (context != nullptr) CertFreeCertificateContext(context);
    }
    found_certificate(const found_certificate&) = delete;
    found_certificate& operator=(const found_certificate&) = delete;
    PCCERT_CONTEXT context;
};

identity_result acquire_from(const system_store& store, const string& subject) {
    const found_certificate certificate(CertFindCertificateInStore(
        store.handle, X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, 0, CERT_FIND_SUBJECT_STR_A, subject.c_str(), nullptr));
    if (certificate.context == nullptr) return failure(identity_step::find_certificate, GetLastError());
    return acquire(SECPKG_CRED_INBOUND, certificate.context);
}

} // namespace

identity_result client_identity() { return acquire(SECPKG_CRED_OUTBOUND, nullptr); }

identity_result server_identity(const string& subject, const string& store_name) {
    system_store store(store_name.empty() ? string("MY") : store_name);
    if (store.handle == nullptr) return failure(identity_step::open_store, GetLastError());
    identity_result result = acquire_from(store, subject);
    if (!store.close() && result.failed == identity_step::none)
        return failure(identity_step::close_store, GetLastError());
    return result;
}

} // namespace tackle::internet::transport::tcp::tls
