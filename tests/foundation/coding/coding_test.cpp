#include "foundation/coding/coding.h"

#include <gtest/gtest.h>

#include <tuple>

namespace tackle::coding::translate {
namespace {

using std::string_literals::operator""s;

// What a decoder appends to a text, and the text of what it throws, if anything.
std::tuple<string, string> decoded(void (*decode)(string_view, string&, bool), string_view in, bool strict) {
    string out = "->";
    try {
        decode(in, out, strict);
    } catch (const generic& raised) {
        return {out, raised.what()};
    }
    return {out, ""};
}

TEST(coding, decodes_any_bytes) {
    const struct {
        const char* label;
        void (*decode)(string_view, string&, bool);
        string in;
        bool strict;
        string out;
        string bad; // the byte that is refused
    } cases[] = {
        {"base64: bits that make no byte are dropped, zero or not", base64_decode, "QR==", true, "->A", ""},
        {"base64: one digit makes no byte", base64_decode, "Q", true, "->", ""},
        {"base64: bits are carried over padding", base64_decode, "QQ==QUI=", false, "->A\x04\x14", ""},
        {"base64: junk before, between and after digits", base64_decode, "\r\nQU\r\nJD\xFF!RE", false, "->ABCD", ""},
        {"base64: strict keeps what was complete", base64_decode, "QUJDRE\nE=", true, "->ABCD", "0x0A"},
        {"base64: a high byte prints as a signed one", base64_decode, "QUJD\x80", true, "->ABC", "0xFFFFFF80"},
        {"uuencode: blank and backquote are both 0", uu_decode, "!  !!``!", true, "->\x04\0\x01\x04\0\x01"s, ""},
        {"uuencode: last digits of the alphabet", uu_decode, "____", true, "->\xFF\xFF\xFF", ""},
        {"uuencode: no lower case", uu_decode, "!!!!a", true, "->\x04\x10\x41", "0x61"},
        {"hexadecimal: both cases", hex_decode, "aBFf09", true, "->\xAB\xFF\x09", ""},
        {"hexadecimal: half a byte is dropped", hex_decode, "41 4", false, "->A", ""},
        {"hexadecimal: padding is no digit", hex_decode, "41=", true, "->A", "0x3D"},
        {"quoted-printable: an escape without digits is text", quoted_printable_decode, "a=ZZb", false, "->a=ZZb", ""},
        {"quoted-printable: an escape inside a bad one", quoted_printable_decode, "==41=4=42", false, "->=A=4B", ""},
        {"quoted-printable: NUL is no digit", quoted_printable_decode, "=4\0"s, false, "->=4\0"s, ""},
        {"quoted-printable: cut off after =", quoted_printable_decode, "a=", true, "->a=", ""},
        {"quoted-printable: cut off after one digit", quoted_printable_decode, "a=4", true, "->a=4", ""},
        {"quoted-printable: escapes among long text", quoted_printable_decode, "0123456=e2 01234567=E40", true,
         "->0123456\xE2 01234567\xE4\x30", ""},
        {"quoted-printable: an escape makes no escape", quoted_printable_decode, "=3D41", true, "->=41", ""},
        {"quoted-printable: the first bad digit is told", quoted_printable_decode, "ab=4\xE4=ZZ", true, "->ab",
         "0xFFFFFFE4"},
        {"percent: its own escape", percent_decode, "%41=41%%34%", false, "->A=41%4%", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const string raised = c.bad.empty() ? "" : "translate.invalid_codeword[Invalid Codeword " + c.bad + "]";
        EXPECT_EQ(decoded(c.decode, c.in, c.strict), std::make_tuple(c.out, raised));
    }
}

TEST(coding, encodes) {
    EXPECT_EQ(base64_encode("", true) + base64_encode("f", true) + base64_encode("fo", true), "Zg==Zm8=");
    EXPECT_EQ(base64_encode("foo", true) + base64_encode("foob", false), "Zm9vZm9vYg");
    EXPECT_EQ(base64_encode("\xFB\xFF\xBF", false), "+/+/");
    EXPECT_EQ(uu_encode("Cat") + uu_encode("\xFF"), "0V%T_P");
    EXPECT_EQ(hex_encode("\x01\xAB"), "01ab");
    EXPECT_EQ(quoted_printable_encode("a b=_?\"\x1F~\x7F\x80\n!"), "a b=3D=5F=3F=22=1F~=7F=80=0A!");
    EXPECT_EQ(percent_encode("aZ09.-_~ /\xE4"), "aZ09.-_%7E%20%2F%E4");
}

TEST(coding, writes_and_reads_numbers) {
    EXPECT_EQ(base64_encode(0) + base64_encode(UINT64_MAX), "AP//////////");
    EXPECT_EQ(uu_encode(std::uint64_t{64}) + hex_encode(0) + hex_encode(0xBEEF0), "! 0beef0");
    string out = "z";
    encode_number(10, out, "01", 1);
    EXPECT_EQ(out, "1010z");

    std::uint64_t value = 0xF;
    hex_decode("a B", value, false);
    EXPECT_EQ(value, 0xFABU);
    base64_decode("B=A", value, true);
    EXPECT_EQ(value, 0xFABU << 12 | 1 << 6);
    hex_decode("123456789ABCDEF01", value, true);
    EXPECT_EQ(value, 0x23456789ABCDEF01U) << "bits above 64 are lost";
    EXPECT_THROW(uu_decode("a", value, true), invalid_codeword);
}

} // namespace
} // namespace tackle::coding::translate
