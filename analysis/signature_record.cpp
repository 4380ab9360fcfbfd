#include "analysis/signature_record.h"

#include "foundation/coding.h"
#include "foundation/md5.h"

namespace brimwarden::analysis {

namespace {

// Base64 is ASCII, so each byte is its own unit.
tackle::wstring widen(const tackle::string& text) { return {text.begin(), text.end()}; }

} // namespace

tackle::wstring digest_text(tackle::string_view bytes) {
    return widen(tackle::coding::md5_base64(tackle::coding::md5_digest(bytes)));
}

tackle::wstring digit_string(std::uint64_t number) { return widen(tackle::coding::translate::base64_encode(number)); }

} // namespace brimwarden::analysis
