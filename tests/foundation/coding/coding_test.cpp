#include "foundation/coding/coding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <tuple>

namespace tackle::coding::translate {
namespace {

using std::string_literals::operator""s;

// What a decoder does with `in` behind a text that stands there, and the text of what it throws, if anything.
std::tuple<string, string> decoded(void (*decode)(string_view, string&, bool), string_view in, bool strict) {
    string out = "->";
    try {
        decode(in, out, strict);
    } catch (const invalid_codeword& raised) {
        return {out, raised.message()};
    }
    return {out, ""};
}

struct decode_case {
    const char* label;
    void (*decode)(string_view, string&, bool);
    string in;
    bool strict;
    string out;
    string raised;
};

const decode_case decode_cases[] = {
    {"base64: bits left over are dropped", base64_decode, "QQ", false, "->A", ""},
    {"base64: also those that are not zero", base64_decode, "QR==", true, "->A", ""},
    {"base64: junk does not end a quad", base64_decode, "Q Q==", false, "->A", ""},
    {"base64: bits are carried over padding", base64_decode, "QQ==QUI=", false, "->A\x04\x14", ""},
    {"base64: one digit is no byte", base64_decode, "Q", true, "->", ""},
    {"base64: junk before, between and behind", base64_decode, "\r\nQU\r\nJD\xFF!RE", false, "->ABCD", ""},
    {"base64: padding alone", base64_decode, "====", true, "->", ""},
    {"base64: strict", base64_decode, "#", true, "->", "Invalid Codeword 0x23"},
    {"base64: strict keeps what was complete", base64_decode, "QUJDRE\nE=", true, "->ABCD", "Invalid Codeword 0x0A"},
    {"base64: a high byte prints as a signed one", base64_decode, "QUJD\x80", true, "->ABC",
     "Invalid Codeword 0xFFFFFF80"},
    {"base64: all ones", base64_decode, "////", true, "->\xFF\xFF\xFF", ""},
    {"uuencode: blank and backquote are both 0", uu_decode, "!  !!``!", true, "->\x04\0\x01\x04\0\x01"s, ""},
    {"uuencode: last digits of the alphabet", uu_decode, "____", true, "->\xFF\xFF\xFF", ""},
    {"uuencode: no lower case", uu_decode, "!!!!a", true, "->\x04\x10\x41", "Invalid Codeword 0x61"},
    {"hexadecimal: both cases", hex_decode, "aBFf09", true, "->\xAB\xFF\x09", ""},
    {"hexadecimal: half a byte is dropped", hex_decode, "41 4", false, "->A", ""},
    {"hexadecimal: no padding", hex_decode, "41=", true, "->A", "Invalid Codeword 0x3D"},
    {"quoted-printable: no pair of digits is text", quoted_printable_decode, "a=ZZb", false, "->a=ZZb", ""},
    {"quoted-printable: and is not stepped over", quoted_printable_decode, "==41=4=42", false, "->=A=4B", ""},
    {"quoted-printable: cut off behind nothing", quoted_printable_decode, "a=", true, "->a=", ""},
    {"quoted-printable: cut off behind one digit", quoted_printable_decode, "a=4", true, "->a=4", ""},
    {"quoted-printable: either case", quoted_printable_decode, "=41=e4=E4", true, "->A\xE4\xE4", ""},
    {"quoted-printable: an escape among long text", quoted_printable_decode, "0123456=42 01234567=430", true,
     "->0123456B 01234567C0", ""},
    {"quoted-printable: an escape makes no escape", quoted_printable_decode, "=3D41", true, "->=41", ""},
    {"quoted-printable: the first bad digit is told", quoted_printable_decode, "ab=4\xE4=ZZ", true, "->ab",
     "Invalid Codeword 0xFFFFFFE4"},
    {"quoted-printable: no soft line break", quoted_printable_decode, "a=\r\nb", false, "->a=\r\nb", ""},
    {"percent: its own escape", percent_decode, "%41=41%%34%", false, "->A=41%4%", ""},
    {"percent: strict", percent_decode, "%G1", true, "->", "Invalid Codeword 0x47"},
};

TEST(coding, decodes_any_bytes) {
    for (const auto& c : decode_cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(decoded(c.decode, c.in, c.strict), std::make_tuple(c.out, c.raised));
    }
}

TEST(coding, names_its_failures) {
    try {
        (void)hex_decode("x", true);
        FAIL() << "no digit was accepted";
    } catch (const generic& raised) {
        EXPECT_STREQ(raised.what(), "translate.invalid_codeword[Invalid Codeword 0x78]");
    }
}

TEST(coding, encodes) {
    const struct {
        const char* label;
        string made;
        string expected;
    } cases[] = {
        {"base64, nothing", base64_encode("", true), ""},
        {"base64, one byte", base64_encode("f", true), "Zg=="},
        {"base64, two bytes", base64_encode("fo", true), "Zm8="},
        {"base64, three bytes", base64_encode("foo", true), "Zm9v"},
        {"base64, no padding", base64_encode("foob", false), "Zm9vYg"},
        {"base64, high bytes", base64_encode("\xFB\xFF\xBF", false), "+/+/"},
        {"base64, zero", base64_encode(0), "A"},
        {"base64, largest number", base64_encode(UINT64_MAX), "P//////////"},
        {"uuencode", uu_encode("Cat"), "0V%T"},
        {"uuencode, filled up", uu_encode("\xFF"), "_P"},
        {"uuencode, number", uu_encode(std::uint64_t{64}), "! "},
        {"hexadecimal", hex_encode("\x01\xAB"), "01ab"},
        {"hexadecimal, zero", hex_encode(0), "0"},
        {"hexadecimal, number", hex_encode(0xBEEF0), "beef0"},
        {"quoted-printable", quoted_printable_encode("a b=_?\"\x1F~\x7F\x80\n!"), "a b=3D=5F=3F=22=1F~=7F=80=0A!"},
        {"percent", percent_encode("aZ09.-_~ /\xE4"), "aZ09.-_%7E%20%2F%E4"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(c.made, c.expected);
    }
}

TEST(coding, numbers_go_in_front_and_shift_in_behind) {
    string out = "z";
    encode_number(10, out, "01", 1);
    EXPECT_EQ(out, "1010z");

    std::uint64_t value = 0xF;
    hex_decode("a B", value, false);
    EXPECT_EQ(value, 0xFABU);
    base64_decode("B=A", value, true);
    EXPECT_EQ(value, 0xFABU << 12 | 1 << 6);
    hex_decode("123456789ABCDEF01", value, true);
    EXPECT_EQ(value, 0x23456789ABCDEF01U) << "what does not fit falls out at the top";
    EXPECT_THROW(uu_decode("a", value, true), invalid_codeword);
}

decode_table table_of(string_view alphabet) {
    decode_table table;
    table.fill(no_digit);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        table[static_cast<std::uint8_t>(alphabet[i])] = static_cast<std::uint16_t>(i);
    return table;
}

// The slow and simple way of the escapes.
void decode_escapes(string_view in, string& out, bool strict) {
    for (std::size_t at = 0; at < in.size(); ++at) {
        try {
            if (in[at] == '=' && in.size() - at > 2) {
                hex_decode(in.substr(at + 1, 2), out, true);
                at += 2;
                continue;
            }
        } catch (const invalid_codeword&) {
            if (strict) throw;
        }
        out += in[at];
    }
}

// The decoders take short ways through what is usual; they must lead to where the generic algorithm does.
TEST(coding, short_ways_end_where_the_long_one_does) {
    auto base64 = table_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
    base64['='] = skip_digit;
    auto uu = table_of(" !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_");
    uu['`'] = 0;
    using decoder = std::function<void(string_view, string&, bool)>;
    const struct {
        const char* label;
        decoder fast;
        decoder simple;
        string_view usual; // what most of the input is made of
    } coders[] = {
        {"base64", static_cast<void (*)(string_view, string&, bool)>(base64_decode),
         [&](auto in, auto& out, bool strict) { decode_stream(in, out, base64, 6, strict); }, "QUJDabc0189+/"},
        {"uuencode", static_cast<void (*)(string_view, string&, bool)>(uu_decode),
         [&](auto in, auto& out, bool strict) { decode_stream(in, out, uu, 6, strict); }, " `!0@AZ_"},
        {"quoted-printable", static_cast<void (*)(string_view, string&, bool)>(quoted_printable_decode), decode_escapes,
         "===0123456789abcdefABCDEF"},
    };
    std::mt19937 random(1);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 6000; ++round) {
        const auto& coder = coders[round % 3];
        const auto odd = below(12); // one byte in so many is arbitrary
        string in;
        for (auto size = below(60); size != 0; --size)
            in +=
                odd != 0 && below(odd + 1) != 0 ? coder.usual[below(coder.usual.size())] : static_cast<char>(random());
        for (const bool strict : {false, true}) {
            string results[2];
            string raised[2];
            for (const int way : {0, 1}) {
                results[way] = "->";
                try {
                    (way == 0 ? coder.fast : coder.simple)(in, results[way], strict);
                } catch (const invalid_codeword& error) {
                    raised[way] = error.message();
                }
            }
            ASSERT_EQ(results[0], results[1]) << coder.label << " of " << testing::PrintToString(in);
            ASSERT_EQ(raised[0], raised[1]) << coder.label << " of " << testing::PrintToString(in);
        }
    }
}

} // namespace
} // namespace tackle::coding::translate
