#include "community/sealing.h"

#include "community/errors.h"
#include "community/rc4.h"
#include "foundation/md5.h"
#include "foundation/unicode.h"

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

} // namespace

void seal(request& sealed, const community_credentials& credentials) {
    packet& out = sealed.outgoing;
    tackle::coding::md5 digest;
    digest.update(string_view(out.nonce.data(), out.nonce.size()));
    digest.update(tackle::unicode::to_narrow(credentials.credential_secret, utf8, true));
    string payload = std::exchange(out.body, {});
    if (out.encrypted) {
        tackle::coding::md5 key = digest;
        sealed.key = key.finish();
        apply_cipher(sealed.key, payload);
    }
    out.write_number(credentials.credential_mode);
    out.write_number(credentials.credential_id);
    digest.update(payload);
    out.body.append(digest.finish()).append(payload);
}

void open_response(request& answered) {
    if (!answered.response.encrypted) return;
    if (answered.key.empty()) throw protocol_error("received encrypted reply to plain request");
    apply_cipher(answered.key, answered.response.body);
}

} // namespace brimwarden::analysis::community
