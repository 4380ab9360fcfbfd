#include "community/wire/sealing.h"

#include "community/errors.h"
#include "community/wire/rc4.h"
#include "foundation/coding/md5.h"
#include "foundation/text/unicode.h"
#include "foundation/text/wipe.h"

#include <utility>

namespace brimwarden::analysis::community {

namespace {

constexpr std::uint32_t utf8 = 65001;
constexpr std::size_t unused_key_stream = 4096; // its first bytes tell too much about the key

void apply_cipher(const string& key, string& text) {
    rc4 stream(key);
    stream.discard(unused_key_stream);
    stream.apply(text);
}

// In a frame of its own, which seal() wipes: the hash and its buffers hold a short secret as it is.
[[gnu::noinline]] string seal_body(packet& request, const community_credentials& credentials) {
    tackle::coding::md5 digest;
    digest.update(string_view(request.nonce.data(), request.nonce.size()));
    string secret = tackle::unicode::to_narrow(credentials.credential_secret, utf8, true);
    digest.update(secret);
    tackle::wipe(secret);
    string payload = std::exchange(request.body, {});
    string key;
    if (request.encrypted) {
        tackle::coding::md5 keyed = digest;
        key = keyed.finish();
        apply_cipher(key, payload);
    }
    request.write_number(credentials.credential_mode);
    request.write_number(credentials.credential_id);
    digest.update(payload);
    request.body.append(digest.finish()).append(payload);
    return key;
}

} // namespace

string seal(packet& request, const community_credentials& credentials) {
    struct cleaning {
        ~cleaning() { tackle::wipe_stack(); }
    } afterwards;
    return seal_body(request, credentials);
}

void open_response(packet& response, const string& key) {
    if (!response.encrypted) return;
    if (key.empty()) throw protocol_error("received encrypted reply to plain request");
    apply_cipher(key, response.body);
}

std::optional<sealed_body> take_apart(packet& request) {
    sealed_body sealed;
    request.read_position = 0;
    if (!request.read_number(sealed.mode) || !request.read_number(sealed.id)) return std::nullopt;
    constexpr std::size_t digest_size = tackle::coding::md5::digest_size;
    const string_view rest = string_view(request.body).substr(request.read_position);
    if (rest.size() < digest_size) return std::nullopt;
    sealed.digest = rest.substr(0, digest_size);
    sealed.payload = rest.substr(digest_size);
    return sealed;
}

namespace {

tackle::coding::md5 begin_digest(const packet& request, string_view secret) {
    tackle::coding::md5 digest;
    digest.update(string_view(request.nonce.data(), request.nonce.size()));
    digest.update(secret);
    return digest;
}

} // namespace

bool proves(const packet& request, const sealed_body& sealed, string_view secret) {
    auto digest = begin_digest(request, secret);
    digest.update(sealed.payload);
    char expected[tackle::coding::md5::digest_size];
    digest.finish(expected);
    unsigned difference = 0;
    for (std::size_t i = 0; i < sizeof expected; ++i)
        difference |= static_cast<unsigned char>(expected[i] ^ sealed.digest[i]);
    return difference == 0;
}

string open_payload(const packet& request, const sealed_body& sealed, string_view secret) {
    string payload(sealed.payload);
    if (request.encrypted) apply_cipher(begin_digest(request, secret).finish(), payload);
    return payload;
}

} // namespace brimwarden::analysis::community
