#pragma once

#include "network/tcp_base.h"

#include <memory>

namespace tackle::internet::transport::tcp {

namespace tls {
class identity;
class session;
} // namespace tls

// A stream socket that speaks TLS, in either role, by the system's own facility: Schannel on Windows, OpenSSL 3 on
// Linux. Connect or accept as with any stream socket (or adopt one that has spoken plain text), run one of the two
// handshakes, then read and write as always. One object carries one connection.
//
// What is verified. A client given a principal verifies the chain of the server's certificate against the roots that
// the system trusts, its dates, and that it bears the principal. A client given no principal verifies nothing at all,
// and what it talks to is anybody: the caller has to know better. Revocation is not looked up. A server asks its
// clients for no certificate.
//
// What is left to the caller. Time limits (set_receive_timeout covers the handshake, too). The closing alert: none is
// sent, so that an end of the stream proves nothing; a protocol above has to mark its own ends. A peer's closing alert
// is raised as security, with status 0x00090317; its end without one as connection_closed.
//
// Protocol versions and ciphers are the system's defaults; on Linux nothing below TLS 1.2 is spoken, whatever these
// say. A peer that asks to renegotiate ends the connection with security, status 0x00090321.
//
// The texts name the calls and, where the meaning is known, the numbers of Schannel on both targets; any other number
// on Linux is OpenSSL's packed code (0x0A......), for `openssl errstr`. Failures of the socket itself are raised as
// by tcp::raw, out of the handshakes as well. After an exception other than operation_interrupted and
// connection_timed_out out of a read the connection is of no more use, but for writing after the closing alert.
class ssl final : public base {
public:
    class security : public generic {
    public:
        explicit security(const string& text) : generic(text) { append_code("security"); }
    };
    class context : public security {
    public:
        explicit context(const string& text) : security(text) { append_code("context"); }
    };
    // The peer's certificate is good, but somebody else's. Carries no text.
    class wrong_principal : public security {
    public:
        explicit wrong_principal(const string& text) : security(text) { append_code("wrong_principal"); }
    };

    // What one side shows of itself. Expensive to make; any number of sockets and threads may use one at a time, and
    // they do not need it to outlive their handshakes.
    class credentials {
    public:
        class store_failed : public security {
        public:
            explicit store_failed(const string& text) : security(text) { append_code("store_failed"); }
        };
        class certificate_not_found : public security {
        public:
            explicit certificate_not_found(const string& text) : security(text) {
                append_code("certificate_not_found");
            }
        };

        // A client that shows no certificate. On Linux the roots are OpenSSL's default ones, so that SSL_CERT_FILE and
        // SSL_CERT_DIR count, and are read now. Throws security.
        credentials();
        // A server with the first certificate of the store whose subject contains `subject`, letters in either case.
        // The subject reads as its values, first to last: "DE, Brimwarden, mail.example".
        //
        // `store`, on Windows: a certificate store of the local machine, "MY" if empty.
        // On Linux: a PEM file, or a directory whose files *.pem are tried in the order of their names; if empty, the
        // directory for private keys of the OpenSSL installation (/etc/ssl/private on most systems). A file has the
        // certificate, its private key without a password, and the other certificates of the chain if there are any.
        // Its certificate is the one that the key belongs to, the first one if there is no such key; one of the chain is
        // never taken.
        // The key alone may lie in a file beside it, with the ending .key instead (mail.pem, mail.key).
        // A directory's files that cannot be read are passed over.
        //
        // Throws store_failed, certificate_not_found, or security if there is no fitting private key.
        explicit credentials(const string& subject, const string& store = {});
        ~credentials();
        credentials(const credentials&) = delete;
        credentials& operator=(const credentials&) = delete;

    private:
        friend class ssl;
        std::shared_ptr<tls::identity> identity_;
    };

    ssl();
    ~ssl() override;

    // The client's handshake on a connected socket. `principal` is the host name that the server's certificate has to
    // bear, or its address in text; empty for no verification. Throws wrong_principal, context for any other failure of
    // the handshake, and what the socket throws; the peer has then been told as far as TLS has words for it.
    void connect_client(const credentials& shown, const string& principal);
    // The server's handshake on an accepted socket. Throws context, and what the socket throws.
    void accept_server(const credentials& shown);

    // Takes over the socket of `other`, and what it has received but nobody has read: that is the beginning of the
    // handshake. `other` gets the socket that this object had. Neither may have a call under way.
    void adopt(base& other);

    // As in the base class, but through the cipher: throws security if that fails, or before a handshake.
    void flush() override;
    void fill() override;

private:
    void fill_raw();
    [[nodiscard]] std::span<char> waiting(); // what is left of handshake_buffer_
    void consume(std::size_t count);
    void shake(tls::session& session, const char* call);
    void open(std::unique_ptr<tls::session> session);

    string handshake_buffer_; // raw bytes; those before handshake_taken_ have been consumed
    std::size_t handshake_taken_ = 0;
    std::unique_ptr<tls::session> session_; // null before a handshake
};

} // namespace tackle::internet::transport::tcp
