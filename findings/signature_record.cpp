#include "findings/signature_record.h"

#include "foundation/coding/coding.h"
#include "foundation/coding/md5.h"

namespace brimwarden::analysis {

namespace {

// Base64 is ASCII, so each byte is its own unit.
tackle::wstring widen(const tackle::string& text) { return {text.begin(), text.end()}; }

} // namespace

tackle::wstring digest_text(tackle::string_view bytes) {
    tackle::coding::md5 hash;
    hash.update(bytes);
    char digest[tackle::coding::md5::digest_size];
    hash.finish(digest);
    return widen(tackle::coding::md5_base64({digest, sizeof digest}));
}

tackle::wstring digit_string(std::uint64_t number) {
    const auto digits = tackle::coding::translate::base64_encode(number);
    return {digits.begin(), digits.end()};
}

} // namespace brimwarden::analysis
