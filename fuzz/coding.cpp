// The decoders: tolerant ones take anything, strict ones take what an encoder made, and the short ways agree with the
// long one.
#include "foundation/coding/coding.h"

#include <cstdint>
#include <cstdlib>

using namespace tackle;
namespace translate = tackle::coding::translate;

namespace {

void expect(bool holds) {
    if (!holds) std::abort();
}

template <typename decoder>
void tolerate(const decoder& decode, string_view in) {
    string whole;
    decode(in, whole, false);
    try {
        string strict;
        decode(in, strict, true);
        expect(strict == whole);
    } catch (const translate::invalid_codeword&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string_view in(reinterpret_cast<const char*>(data), size);
    tolerate([](string_view text, string& out, bool strict) { translate::base64_decode(text, out, strict); }, in);
    tolerate([](string_view text, string& out, bool strict) { translate::uu_decode(text, out, strict); }, in);
    tolerate([](string_view text, string& out, bool strict) { translate::hex_decode(text, out, strict); }, in);
    tolerate([](string_view text, string& out, bool strict) { translate::quoted_printable_decode(text, out, strict); },
             in);
    tolerate([](string_view text, string& out, bool strict) { translate::percent_decode(text, out, strict); }, in);
    expect(translate::base64_decode(translate::base64_encode(in, true), true) == in);
    expect(translate::uu_decode(translate::uu_encode(in), true) == in);
    expect(translate::hex_decode(translate::hex_encode(in), true) == in);
    expect(translate::quoted_printable_decode(translate::quoted_printable_encode(in)) == in);
    expect(translate::percent_decode(translate::percent_encode(in)) == in);
    return 0;
}
