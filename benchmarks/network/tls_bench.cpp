#include "network/environment.h"
#include "network/ip4.h"
#include "network/tls.h"

#include <benchmark/benchmark.h>

#ifdef BRMX_COMPARE_OPENSSL
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

// Bytes of one direction over loopback. The other end is always OpenSSL on a blocking socket, in a thread; so what
// differs between the rows is who stands at this end: our socket, OpenSSL's own, or the openssl program.
namespace tackle::internet::transport::tcp {
namespace {

constexpr std::size_t piece_size = 1 << 20;

struct releases {
    void operator()(SSL_CTX* held) const { SSL_CTX_free(held); }
    void operator()(SSL* held) const { SSL_free(held); }
    void operator()(EVP_PKEY* held) const { EVP_PKEY_free(held); }
    void operator()(X509* held) const { X509_free(held); }
};
template <typename kind>
using owned = std::unique_ptr<kind, releases>;

owned<SSL_CTX> server_context() {
    const owned<EVP_PKEY> key(EVP_EC_gen("P-256"));
    const owned<X509> certificate(X509_new());
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
    X509_set_pubkey(certificate.get(), key.get());
    X509_sign(certificate.get(), key.get(), EVP_sha256());
    owned<SSL_CTX> context(SSL_CTX_new(TLS_server_method()));
    SSL_CTX_use_certificate(context.get(), certificate.get());
    SSL_CTX_use_PrivateKey(context.get(), key.get());
    return context;
}

// Serves one connection until it ends: takes what comes up to a limit, or sends without end.
class far_end {
public:
    explicit far_end(bool sends, std::size_t limit = SIZE_MAX) : door_(::socket(AF_INET, SOCK_STREAM, 0)) {
        std::signal(SIGPIPE, SIG_IGN);
        sockaddr_in any = {};
        any.sin_family = AF_INET;
        any.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof any;
        if (::bind(door_, reinterpret_cast<sockaddr*>(&any), size) != 0 || ::listen(door_, 1) != 0 ||
            ::getsockname(door_, reinterpret_cast<sockaddr*>(&any), &size) != 0)
            std::abort();
        port = ntohs(any.sin_port);
        serving_ = std::jthread([this, sends, limit] { serve(sends, limit); });
    }
    ~far_end() {
        serving_.join();
        ::close(door_);
    }
    std::uint16_t port = 0;

private:
    void serve(bool sends, std::size_t limit) const {
        const auto context = server_context();
        const owned<SSL> connection(SSL_new(context.get()));
        const int accepted = ::accept(door_, nullptr, nullptr);
        SSL_set_fd(connection.get(), accepted);
        string block(16384, 'x');
        std::size_t count = 0;
        if (SSL_accept(connection.get()) == 1)
            for (std::size_t total = 0; total < limit; total += count)
                if ((sends ? SSL_write_ex(connection.get(), block.data(), block.size(), &count)
                           : SSL_read_ex(connection.get(), block.data(), block.size(), &count)) != 1)
                    break;
        ::close(accepted);
    }
    int door_;
    std::jthread serving_;
};

struct our_end {
    explicit our_end(std::uint16_t port) {
        const address::ip4 there(0x7F000001, port);
        socket.create(there);
        socket.connect(there);
        socket.connect_client(ssl::credentials(), "");
    }
    environment layer;
    ssl socket;
};

struct plain_end {
    explicit plain_end(std::uint16_t port) : socket(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in there = {};
        there.sin_family = AF_INET;
        there.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        there.sin_port = htons(port);
        SSL_set_fd(connection.get(), socket);
        if (::connect(socket, reinterpret_cast<sockaddr*>(&there), sizeof there) != 0 ||
            SSL_connect(connection.get()) != 1)
            std::abort();
    }
    ~plain_end() { ::close(socket); }
    int socket;
    owned<SSL_CTX> context{SSL_CTX_new(TLS_client_method())};
    owned<SSL> connection{SSL_new(context.get())};
};

void count_bytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(piece_size));
}

void tls_send_ours(benchmark::State& state) {
    const far_end peer(false);
    our_end here(peer.port);
    const string piece(piece_size, 'x');
    for (auto _ : state)
        here.socket.write(piece);
    count_bytes(state);
    here.socket.close_socket();
}
BENCHMARK(tls_send_ours)->UseRealTime();

void tls_send_openssl(benchmark::State& state) {
    const far_end peer(false);
    const plain_end here(peer.port);
    const string piece(piece_size, 'x');
    for (auto _ : state) {
        std::size_t count = 0;
        for (std::size_t sent = 0; sent < piece.size(); sent += count)
            if (SSL_write_ex(here.connection.get(), piece.data() + sent, 16384, &count) != 1) std::abort();
    }
    count_bytes(state);
}
BENCHMARK(tls_send_openssl)->UseRealTime();

void tls_receive_ours(benchmark::State& state) {
    const far_end peer(true);
    our_end here(peer.port);
    string piece;
    for (auto _ : state) {
        piece.clear();
        while (piece.size() < piece_size)
            here.socket.read_up_to(piece, piece_size - piece.size());
    }
    count_bytes(state);
    here.socket.close_socket();
}
BENCHMARK(tls_receive_ours)->UseRealTime();

void tls_receive_openssl(benchmark::State& state) {
    const far_end peer(true);
    const plain_end here(peer.port);
    string piece(piece_size, '\0');
    for (auto _ : state) {
        std::size_t count = 0;
        for (std::size_t got = 0; got < piece_size; got += count)
            if (SSL_read_ex(here.connection.get(), piece.data() + got, piece_size - got, &count) != 1) std::abort();
    }
    count_bytes(state);
}
BENCHMARK(tls_receive_openssl)->UseRealTime();

// The program reads a file, too; its start and its handshake are a small part of so many bytes.
void tls_send_s_client(benchmark::State& state) {
    constexpr std::size_t size = 256 * piece_size;
    const string file = "/tmp/tls_bench_" + std::to_string(::getpid());
    std::ofstream(file) << string(size, 'x');
    for (auto _ : state) {
        const far_end peer(false, size);
        const string command = "openssl s_client -quiet -connect 127.0.0.1:" + std::to_string(peer.port) + " <" + file +
                               " >/dev/null 2>&1";
        if (std::system(command.c_str()) < 0) std::abort();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
    ::unlink(file.c_str());
}
BENCHMARK(tls_send_s_client)->UseRealTime();

} // namespace
} // namespace tackle::internet::transport::tcp
#endif
