#include "network/tls.h"

#include "network/tls_provider.h"

#include <algorithm>
#include <utility>

namespace tackle::internet::transport::tcp {

namespace {

template <typename cause_class>
[[noreturn]] void raise_status(const char* call, tls::status number) {
    throw cause_class(format("%s returned status 0x%.8x", call, number));
}

std::shared_ptr<tls::identity> made(tls::identity_result result) {
    using tls::identity_step;
    switch (result.failed) {
    case identity_step::none:
        break;
    case identity_step::open_store: // named as clients know it
        raise_status<ssl::credentials::store_failed>("CertOpenSystemStore", result.number);
    case identity_step::find_certificate:
        raise_status<ssl::credentials::certificate_not_found>("CertFindCertificateInStore", result.number);
    case identity_step::close_store:
        raise_status<ssl::credentials::store_failed>("CertCloseStore", result.number);
    case identity_step::acquire:
        raise_status<ssl::security>("AcquireCredentialsHandle", result.number);
    }
    return std::move(result.made);
}

bool goes_on(tls::status step) {
    return step == tls::ok || step == tls::continue_needed || step == tls::incomplete_message ||
           step == tls::incomplete_credentials;
}

constexpr const char* client_call = "InitializeSecurityContext";
constexpr const char* server_call = "AcceptSecurityContext";

} // namespace

ssl::credentials::credentials() : identity_(made(tls::client_identity())) {}
ssl::credentials::credentials(const string& subject, const string& store)
    : identity_(made(tls::server_identity(subject, store))) {}
ssl::credentials::~credentials() = default;

ssl::ssl() = default;
ssl::~ssl() = default;

void ssl::connect_client(const credentials& shown, const string& principal) {
    // The systems take a name up to its zero, and would go on to trust a shorter name than the one given.
    if (principal.find('\0') != string::npos) raise_status<context>(client_call, tls::target_unknown);
    auto session = shown.identity_->connect(principal);
    string token;
    std::size_t used = 0;
    const tls::status result = session->step({}, used, token);
    if (result != tls::continue_needed) raise_status<context>(client_call, result);
    send_all(token);
    shake(*session, client_call);
    open(std::move(session));
}

void ssl::accept_server(const credentials& shown) {
    auto session = shown.identity_->accept();
    shake(*session, server_call);
    open(std::move(session));
}

void ssl::shake(tls::session& session, const char* call) {
    tls::status result = tls::continue_needed;
    bool again = true;
    string token;
    while (again) {
        if (waiting().empty() || result == tls::incomplete_message) fill_raw();
        std::size_t used = 0;
        result = session.step(waiting(), used, token);
        try {
            send_all(token); // also of a step that failed: it may tell the peer why
        } catch (const exception&) {
            if (goes_on(result)) throw;
        } // a peer that has gone away cannot be told, and the reason is the caller's all the same
        again = result == tls::incomplete_message || result == tls::incomplete_credentials;
        if (again) continue;
        consume(used);
        again = result == tls::continue_needed;
    }
    if (result == tls::wrong_principal) throw wrong_principal("");
    if (result != tls::ok) raise_status<context>(call, result);
}

void ssl::open(std::unique_ptr<tls::session> session) {
    if (const auto result = session->read_connection_info(); result != tls::ok)
        raise_status<context>("QueryContextAttributes(SECPKG_ATTR_CONNECTION_INFO)", result);
    if (const auto result = session->read_stream_sizes(); result != tls::ok)
        raise_status<context>("QueryContextAttributes(SECPKG_ATTR_STREAM_SIZES)", result);
    session_ = std::move(session);
}

void ssl::adopt(base& other) {
    take_queued(other, handshake_buffer_);
    swap_sockets(other);
}

void ssl::flush() {
    if (send_buffer_.empty()) return;
    if (!session_) raise_status<security>("EncryptMessage", tls::invalid_handle);
    // The queue loses all that went at once: taking piece by piece off its front would cost the square of its length.
    // A piece counts as gone before it is tried, so that none is ever sent twice.
    struct taking {
        string& queue;
        std::size_t taken = 0;
        ~taking() { queue.erase(0, taken); }
    } front{send_buffer_};
    string block;
    while (front.taken < send_buffer_.size()) {
        const string_view piece = string_view(send_buffer_).substr(front.taken, session_->largest_message());
        front.taken += piece.size();
        if (const auto result = session_->encrypt(piece, block); result != tls::ok)
            raise_status<security>("EncryptMessage", result);
        send_all(block);
    }
}

void ssl::fill() {
    if (!session_) raise_status<security>("DecryptMessage", tls::invalid_handle);
    if (taken_ != 0) {
        receive_buffer_.erase(0, taken_);
        taken_ = 0;
    }
    const std::size_t before = receive_buffer_.size();
    tls::status result = tls::ok;
    string reply;
    while (receive_buffer_.size() == before) {
        if (waiting().empty() || result == tls::incomplete_message) fill_raw();
        std::size_t used = 0;
        result = session_->decrypt(waiting(), used, receive_buffer_, reply);
        if (result == tls::ok || result == tls::incomplete_message) {
            consume(used);
            send_all(reply);
            continue;
        }
        // The bytes stay, so that whoever reads again hears the same and does not wait for more.
        // What the cipher can't vouch for any more must neither be read on nor written to. A peer that is done may
        // still listen.
        if (result != tls::context_expired) session_.reset();
        raise_status<security>("DecryptMessage", result);
    }
}

void ssl::fill_raw() {
    char block[4096];
    const std::size_t count = receive(block);
    if (handshake_taken_ != 0) {
        handshake_buffer_.erase(0, handshake_taken_);
        handshake_taken_ = 0;
    }
    handshake_buffer_.append(block, count);
}

std::span<char> ssl::waiting() { return std::span(handshake_buffer_).subspan(handshake_taken_); }

void ssl::consume(std::size_t count) {
    handshake_taken_ += count;
    if (handshake_taken_ < handshake_buffer_.size()) return;
    handshake_buffer_.clear();
    handshake_taken_ = 0;
}

} // namespace tackle::internet::transport::tcp
