// The decoders: tolerant ones take anything, strict ones take what an encoder made, and the fast paths decode as the
// generic algorithm does.
#include "foundation/coding/coding.h"
#include "fuzz/support/expect.h"

#include <cstdint>

using namespace tackle;
namespace translate = tackle::coding::translate;

namespace {

using decoder = void (*)(string_view, string&, bool);

// What a decoder makes of `in`, and the text of what it throws, if anything.
string outcome(decoder decode, string_view in, bool strict) {
    string out;
    try {
        decode(in, out, strict);
    } catch (const translate::invalid_codeword& raised) {
        return out + raised.message();
    }
    return out;
}

void tolerate(decoder decode, string_view in) {
    const string strict = outcome(decode, in, true);
    EXPECT(strict == outcome(decode, in, false) || strict.find("Invalid Codeword 0x") != strict.npos);
}

void compare(decoder fast, decoder simple, string_view in) {
    for (const bool strict : {false, true})
        EXPECT(outcome(fast, in, strict) == outcome(simple, in, strict));
}

// The digits of an alphabet, and what one byte outside of it means.
void decode_six_bits(string_view in, string& out, string_view alphabet, char other, std::uint16_t meaning,
                     bool strict) {
    translate::decode_table table;
    table.fill(translate::no_digit);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        table[static_cast<std::uint8_t>(alphabet[i])] = static_cast<std::uint16_t>(i);
    table[static_cast<std::uint8_t>(other)] = meaning;
    translate::decode_stream(in, out, table, 6, strict);
}

void decode_base64(string_view in, string& out, bool strict) {
    constexpr string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    decode_six_bits(in, out, alphabet, '=', translate::skip_digit, strict);
}

void decode_uu(string_view in, string& out, bool strict) {
    constexpr string_view alphabet = " !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_";
    decode_six_bits(in, out, alphabet, '`', 0, strict);
}

void decode_escapes(string_view in, string& out, bool strict) {
    for (std::size_t at = 0; at < in.size(); ++at) {
        const auto digits = in.substr(at + 1, 2);
        const bool escape = in[at] == '=' && digits.size() == 2;
        if (escape && (strict || digits.find_first_not_of("0123456789abcdefABCDEF") == digits.npos)) {
            translate::hex_decode(digits, out, true);
            at += 2;
        } else {
            out += in[at];
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string_view in(reinterpret_cast<const char*>(data), size);
    compare(translate::base64_decode, decode_base64, in);
    compare(translate::uu_decode, decode_uu, in);
    compare(translate::quoted_printable_decode, decode_escapes, in);
    tolerate(translate::hex_decode, in);
    tolerate(translate::percent_decode, in);
    EXPECT(translate::base64_decode(translate::base64_encode(in, true), true) == in);
    EXPECT(translate::uu_decode(translate::uu_encode(in), true) == in);
    EXPECT(translate::hex_decode(translate::hex_encode(in), true) == in);
    EXPECT(translate::quoted_printable_decode(translate::quoted_printable_encode(in)) == in);
    EXPECT(translate::percent_decode(translate::percent_encode(in)) == in);
    return 0;
}
