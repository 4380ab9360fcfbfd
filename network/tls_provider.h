#pragma once

#include "foundation/text/text.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

// TLS without sockets: bytes in, bytes out. Each target puts its own facility behind this. Nothing here raises but
// std::bad_alloc; results are numbers of SSPI, since callers tell people about them.
namespace tackle::internet::transport::tcp::tls {

using status = std::uint32_t;
inline constexpr status ok = 0;
inline constexpr status continue_needed = 0x00090312;
inline constexpr status context_expired = 0x00090317; // the peer has said that it is done
inline constexpr status incomplete_credentials = 0x00090320;
inline constexpr status renegotiate = 0x00090321; // the peer asks for a handshake
inline constexpr status invalid_handle = 0x80090301;
inline constexpr status target_unknown = 0x80090303;
inline constexpr status incomplete_message = 0x80090318;
inline constexpr status wrong_principal = 0x80090322;

// One side of one connection.
class session {
public:
    virtual ~session() = default;

    // One step of the handshake over all that has come and is not used up; a client's first step is over nothing.
    // `token` becomes what has to go to the peer, also when the step fails. `used` is how much of `received` is done
    // with, of no meaning with incomplete_message (the step wants more bytes) and incomplete_credentials (the step
    // wants to be called again): then everything stays.
    [[nodiscard]] virtual status step(std::span<char> received, std::size_t& used, string& token) = 0;
    // Both once after the last step and before anything below.
    [[nodiscard]] virtual status read_connection_info() = 0;
    [[nodiscard]] virtual status read_stream_sizes() = 0;

    [[nodiscard]] virtual std::size_t largest_message() const = 0; // in bytes of plain text, above 0
    // `block` becomes the record, or records, of a piece of at most the largest message.
    [[nodiscard]] virtual status encrypt(string_view piece, string& block) = 0;
    // Deciphers the next record, in place if it likes. Appends to `plain`, perhaps nothing; `reply` becomes what has to
    // go to the peer. `used` is how much of `received` is done with; of no meaning but with ok and incomplete_message.
    [[nodiscard]] virtual status decrypt(std::span<char> received, std::size_t& used, string& plain, string& reply) = 0;
};

// A credentials handle. Sessions share in it, from any thread.
class identity {
public:
    virtual ~identity() = default;
    // Without zero bytes in the principal; an empty one asks for no verification.
    [[nodiscard]] virtual std::unique_ptr<session> connect(const string& principal) = 0;
    [[nodiscard]] virtual std::unique_ptr<session> accept() = 0;
};

// The step that failed, if any.
enum class identity_step : std::uint8_t { none, open_store, find_certificate, close_store, acquire };
struct identity_result {
    identity_step failed = identity_step::none;
    status number = ok;
    std::shared_ptr<identity> made;
};
[[nodiscard]] identity_result client_identity();
[[nodiscard]] identity_result server_identity(const string& subject, const string& store);

} // namespace tackle::internet::transport::tcp::tls
