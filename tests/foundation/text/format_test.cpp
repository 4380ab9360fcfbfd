#include "foundation/text/format.h"

#include <bit>
#include <clocale>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace tackle {
namespace {

struct format_case {
    const char* label;
    string printed;
    string expected;
};

void expect_all(const std::vector<format_case>& cases) {
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(c.printed, c.expected);
    }
}

TEST(format, prints_integers_by_their_own_type) {
    const auto signed_byte = static_cast<signed char>(0x80);
    enum class scoped : std::uint8_t { value = 200 };
    expect_all({
        {"int", format("%d %i", -5, 5), "-5 5"},
        {"negative int as hex", format("%X", -1), "FFFFFFFF"},
        {"negative byte widens to int", format("%.2X", signed_byte), "FFFFFF80"},
        {"unsigned byte", format("%.2X", static_cast<unsigned char>(0x80)), "80"},
        {"unsigned above int under d", format("%i", 0xFFFFFFFFU), "-1"},
        {"int under u", format("%u", -1), "4294967295"},
        {"64-bit unsigned under d", format("%I64i", std::uint64_t{0} - 1), "-1"},
        {"64-bit signed under u", format("%llu", std::int64_t{-1}), "18446744073709551615"},
        {"lowest 64-bit", format("%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
        {"lowest int", format("%d", std::numeric_limits<int>::min()), "-2147483648"},
        {"length says less than the type", format("%hd", 70000), "70000"},
        {"every length", format("%hhd%hd%ld%lld%zd%jd%td%I32d%I64d", 1, 2, 3, 4, 5, 6, 7, 8, 9), "123456789"},
        {"bool", format("%d", true), "1"},
        {"scoped enumeration", format("%u", scoped::value), "200"},
        {"octal", format("%o %#o %#o", 8, 8, 0), "10 010 0"},
        {"alternative hex", format("%#x %#X %#x", 255, 255, 0), "0xff 0XFF 0"},
        {"character", format("%c%c", 'a', 0x62), "ab"},
        {"zero byte", format("%c", 0), string(1, '\0')},
    });
}

TEST(format, pads_and_signs) {
    expect_all({
        {"width", format("[%5d][%-5d][%05d]", 42, 42, 42), "[   42][42   ][00042]"},
        {"left wins over zero", format("[%-05d]", 42), "[42   ]"},
        {"zeros behind the sign", format("[%05d][%+05d]", -42, 42), "[-0042][+0042]"},
        {"plus wins over blank", format("[%+ d][% d][% d]", 1, 1, -1), "[+1][ 1][-1]"},
        {"precision", format("[%.3d][%6.3d][%-6.3d]", 7, 7, -7), "[007][   007][-007  ]"},
        {"precision ends zero padding", format("[%06.3d]", 7), "[   007]"},
        {"nothing of nothing", format("[%.0d][%.0x][%+.0d]", 0, 0, 0), "[][][+]"},
        {"octal sign counts as a digit", format("[%#.3o][%#.0o]", 8, 0), "[010][0]"},
        {"zeros behind 0x", format("[%#08x]", 255), "[0x0000ff]"},
        {"eight digits both ways", format("%08x %.8x", 0x2AU, 0x2AU), "0000002a 0000002a"},
        {"star", format("[%*d][%-*d][%.*f]", 4, 1, 4, 2, 1, 2.55), "[   1][2   ][2.5]"},
        {"negative star is left", format("[%*d]", -4, 1), "[1   ]"},
        {"negative star precision is none", format("[%.*f]", -1, 0.5), "[0.500000]"},
        {"a point alone is precision 0", format("[%.f][%.s]", 2.5, "abc"), "[2][]"},
        {"character", format("[%3c][%-3c]", 'x', 'y'), "[  x][y  ]"},
        {"float", format("[%-6.2f][%8.3f][%08.3f]", 3.14159, -3.14159, -3.14159), "[3.14  ][  -3.142][-003.142]"},
        {"infinity is never padded with zeros", format("[%06f]", -std::numeric_limits<double>::infinity()), "[  -inf]"},
    });
}

TEST(format, prints_text_and_addresses) {
    const char unterminated[] = {'a', 'b', 'c'};
    const char* const no_text = nullptr;
    const string with_zero("a\0b", 3);
    char array[8] = "array";
    expect_all({
        {"kinds of text", format("%s %s %s %s", "literal", string("string"), string_view("viewed", 4), array),
         "literal string view array"},
        {"zero inside", format("<%s>", with_zero), string("<a\0b>", 5)},
        {"widths", format("[%5s][%-5s][%.2s][%5.1s]", "abc", "abc", "abc", "abc"), "[  abc][abc  ][ab][    a]"},
        {"precision beyond the text", format("[%.9s]", "abc"), "[abc]"},
        {"precision beyond a view", format("[%.3s]", string_view("abcd", 2)), "[ab]"},
        {"reads no further than the precision", format("%.3s", static_cast<const char*>(unterminated)), "abc"},
        {"null", format("%s", no_text), "(null)"},
        {"address", format("%p", reinterpret_cast<const void*>(0xAB12)), "0xab12"},
        {"null address", format("%p %6p", nullptr, static_cast<void*>(nullptr)), "0x0    0x0"},
        {"percent", format("100%% of %d%%", 5), "100% of 5%"},
        {"long", format("%s-%s", string(5000, 'x'), string(5000, 'y')), string(5000, 'x') + "-" + string(5000, 'y')},
        {"wide field", format("%3000d", 7), string(2999, ' ') + "7"},
        {"digits beyond any buffer", format("%.2000f", 1.0), "1." + string(2000, '0')},
    });
}

TEST(format, has_an_answer_to_every_mismatch) {
    expect_all({
        {"integer under f", format("%.1f %.1f", 3, 0xFFFFFFFFU), "3.0 4294967295.0"},
        {"floating under d", format("%d %d", 3.9, -3.9), "3 -3"},
        {"floating out of range", format("%d %u", 1e300, -1e300), "9223372036854775807 9223372036854775808"},
        {"not a number under d", format("%d", std::numeric_limits<double>::quiet_NaN()), "0"},
        {"numbers under s", format("%s %s %s", -3, 0xFFFFFFFFU, 0.5), "-3 4294967295 0.500000"},
        {"text under d", format("%d", "text"), "text"},
        {"address under x", format("%x", reinterpret_cast<const void*>(0xAB)), "ab"},
        {"missing", format("<%d %s %*d>", 1), "<1  >"},
        {"one too many", format("%d", 1, 2), "1"},
        {"unknown letter", format("%k %d", 5), "%k 5"},
        {"cut off", format("%d %-5.3l", 5), "5 %-5.3l"},
        {"percent at the end", format("100%", 5), "100%"},
        {"absurd width is read to its end", format("%.99999999999999999999999s", "abc"), "abc"},
    });
}

TEST(format, prints_wide_text) {
    EXPECT_EQ(format(u"Token: \"%s\"", wstring(u"\u00e9\u20ac")), u"Token: \"\u00e9\u20ac\"");
    EXPECT_EQ(format(u"%-6.2f%s -- %s", 12.5, u"Name", wstring_view(u"details")), u"12.50 Name -- details");
    EXPECT_EQ(format(u"[%4s][%.1s]", u"\u20ac", u"\u20ac\u20ac"), u"[   \u20ac][\u20ac]");
    EXPECT_EQ(format(u"%c%X%%", u'\u20ac', -1), u"\u20acFFFFFFFF%");
    EXPECT_EQ(format(u"\u0125\u0164%d", 1), u"\u0125\u01641"); // units whose low byte is a percent sign or a letter
    EXPECT_EQ(format(u"%\u0164", 1), u"%\u0164");
    EXPECT_EQ(format(u"%s", static_cast<const char16_t*>(nullptr)), u"(null)");
}

TEST(format, appends) {
    string line = "a";
    append_format(line, "%d%s", 1, "b");
    EXPECT_EQ(line, "a1b");
}

string printed_by_the_library(const char* fmt, double value) {
    char text[1024];
    const int length = std::snprintf(text, sizeof text, fmt, value);
    return {text, static_cast<std::size_t>(length)};
}

// The C library rounds correctly too, and is somebody else's work.
TEST(format, prints_floating_point_as_the_c_library_does) {
    const char* const formats[] = {"%f",  "%.2f", "%-6.2f", "%.0f",  "%#.0f", "%+.10f",  "%012.3f",
                                   "% f", "%e",   "%.0e",   "%#.0e", "%E",    "%.20e",   "%g",
                                   "%G",  "%.3g", "%.0g",   "%.17g", "%12g",  "%-12.1e", "%F"};
    std::vector<double> values = {0.0,   -0.0,    0.005,   0.015,         0.125,
                                  2.5,   3.5,     -0.5,    1.0,           9.995,
                                  99.95, 99999.5, 1e5,     999999,        1e6,
                                  1e15,  0.0001,  0.00001, 0.00009999995, 1e22,
                                  1e23,  1e300,   5e-324,  2.2e-308,      1.7976931348623157e308,
                                  100.0, 0.1F};
    std::mt19937_64 random(20240607); // NOLINT: the same cases every time
    while (values.size() < 2000) {
        const auto bits = std::bit_cast<double>(random());
        if (bits == bits && bits - bits == 0) values.push_back(bits);
        values.push_back(static_cast<double>(static_cast<std::int64_t>(random() % 2000000) - 1000000) / 1000);
    }
    for (const double value : values)
        for (const char* const fmt : formats)
            ASSERT_EQ(format(fmt, value), printed_by_the_library(fmt, value)) << fmt;
    EXPECT_EQ(format("%f %E", std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()),
              "inf NAN");
}

// By hand: the C library of some targets loses the zeros where rounding adds a digit.
TEST(format, keeps_the_zeros_of_alternative_general_form) {
    expect_all({
        {"plain", format("%#g %#.3g %#.0g", 1.0, 1.0, 5.0), "1.00000 1.00 5."},
        {"zero", format("%#g", 0.0), "0.00000"},
        {"all digits before the point", format("%#g", 100000.0), "100000."},
        {"large", format("%#g", 1e6), "1.00000e+06"},
        {"rounds into a larger exponent", format("%#.3g %#.4G", 999.9, 99999.0), "1.00e+03 1.000E+05"},
        {"rounds up below it", format("%#.3g", 99.96), "100."},
        {"small", format("%#g %#g", 0.0001, 0.00001), "0.000100000 1.00000e-05"},
    });
}

TEST(format, ignores_the_locale) {
    const string before = std::setlocale(LC_ALL, nullptr);
    for (const char* const name : {"de_DE.UTF-8", "German_Germany.1252"}) // one of them may exist
        if (std::setlocale(LC_ALL, name) != nullptr) break;
    EXPECT_EQ(format("%.2f", 1.5), "1.50");
    std::setlocale(LC_ALL, before.c_str());
}

} // namespace
} // namespace tackle
