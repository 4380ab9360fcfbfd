#include "foundation/text/format.h"

#include <bit>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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
    for (const auto& c : cases)
        EXPECT_EQ(c.printed, c.expected) << c.label;
}

TEST(format, prints_integers_by_their_own_type) {
    enum class scoped : std::uint8_t { value = 200 };
    expect_all({
        {"negative int as hex", format("%X", -1), "FFFFFFFF"},
        {"negative byte widens to int", format("%.2X", static_cast<signed char>(0x80)), "FFFFFF80"},
        {"unsigned byte", format("%.2X", static_cast<unsigned char>(0x80)), "80"},
        {"unsigned above int under d", format("%i", 0xFFFFFFFFU), "-1"},
        {"int under u", format("%u", -1), "4294967295"},
        {"64-bit unsigned under d", format("%I64i", std::uint64_t{0} - 1), "-1"},
        {"64-bit signed under u", format("%llu", std::int64_t{-1}), "18446744073709551615"},
        {"lowest 64-bit", format("%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
        {"length says less than the type", format("%hd", 70000), "70000"},
        {"every length", format("%hhd%hd%ld%lld%zd%jd%td%I32d%I64d%qd%wd", 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1),
         "12345678901"},
        {"bool and scoped enumeration", format("%d%u", true, scoped::value), "1200"},
        {"octal", format("%o %#o %#o", 8, 8, 0), "10 010 0"},
        {"alternative hex", format("%#x %#X %#x", 255, 255, 0), "0xff 0XFF 0"},
        {"characters", format("%c%c%c", 'a', 0x62, 0), string("ab\0", 3)},
    });
}

TEST(format, pads_and_signs) {
    expect_all({
        {"width", format("[%5d][%-5d][%05d]", 42, 42, 42), "[   42][42   ][00042]"},
        {"left wins over zero", format("[%-05d]", 42), "[42   ]"},
        {"zeros after the sign", format("[%05d][%+05d]", -42, 42), "[-0042][+0042]"},
        {"plus wins over blank", format("[%+ d][% d][% d]", 1, 1, -1), "[+1][ 1][-1]"},
        {"precision", format("[%.3d][%6.3d][%-6.3d]", 7, 7, -7), "[007][   007][-007  ]"},
        {"precision ends zero padding", format("[%06.3d]", 7), "[   007]"},
        {"precision 0 of 0", format("[%.0d][%.0x][%+.0d]", 0, 0, 0), "[][][+]"},
        {"octal sign counts as a digit", format("[%#.3o][%#.0o]", 8, 0), "[010][0]"},
        {"zeros after 0x", format("[%#08x]", 255), "[0x0000ff]"},
        {"star", format("[%*d][%-*d][%.*f]", 4, 1, 4, 2, 1, 2.55), "[   1][2   ][2.5]"},
        {"negative star: left, no precision", format("[%*d][%.*f]", -4, 1, -1, 0.5), "[1   ][0.500000]"},
        {"a point alone is precision 0", format("[%.f][%.s]", 2.5, "abc"), "[2][]"},
        {"character", format("[%3c][%-3c]", 'x', 'y'), "[  x][y  ]"},
        {"infinity is never padded with zeros", format("[%06f]", -std::numeric_limits<double>::infinity()), "[  -inf]"},
        {"an address is never padded with zeros", format("[%05p][%6p]", nullptr, static_cast<void*>(nullptr)),
         "[  0x0][   0x0]"},
    });
}

TEST(format, prints_text) {
    const char unterminated[] = {'a', 'b', 'c'};
    const char* const no_text = nullptr;
    char array[8] = "array";
    expect_all({
        {"kinds of text", format("%s %s %s %s", "literal", string("string"), string_view("viewed", 4), array),
         "literal string view array"},
        {"zero inside", format("<%s>", string("a\0b", 3)), string("<a\0b>", 5)},
        {"widths", format("[%5s][%-5s][%.2s][%5.1s]", "abc", "abc", "abc", "abc"), "[  abc][abc  ][ab][    a]"},
        {"precision beyond text and view", format("[%.9s][%.3s]", "abc", string_view("abcd", 2)), "[abc][ab]"},
        {"reads no further than the precision", format("%.3s", static_cast<const char*>(unterminated)), "abc"},
        {"null", format("%s", no_text), "(null)"},
        {"percent", format("100%% of %d%%", 5), "100% of 5%"},
        {"longer than any buffer", format("%3000d%s", 7, string(5000, 'x')),
         string(2999, ' ') + "7" + string(5000, 'x')},
        {"digits beyond any buffer", format("%.2000f", 1.0), "1." + string(2000, '0')},
    });
    EXPECT_EQ(format(u"%-6.2f%s -- %s", 12.5, u"Name", wstring_view(u"\u20ac")), u"12.50 Name -- \u20ac");
    EXPECT_EQ(format(u"[%4s][%.1s]%c%X%%", u"\u20ac", u"\u20ac\u20ac", u'\u20ac', -1),
              u"[   \u20ac][\u20ac]\u20acFFFFFFFF%");
    EXPECT_EQ(format(u"\u0125\u0164%d%\u0164", 1), u"\u0125\u01641%\u0164"); // low bytes of a percent sign and a letter
}

TEST(format, has_an_answer_to_every_mismatch) {
    string appended = "a";
    append_format(appended, "%d%s", 1, "b");
    expect_all({
        {"integer under f", format("%.1f %.1f", 3, 0xFFFFFFFFU), "3.0 4294967295.0"},
        {"floating under d", format("%d %d", 3.9, -3.9), "3 -3"},
        {"floating out of range", format("%d %u", 1e300, -1e300), "9223372036854775807 9223372036854775808"},
        {"not a number under d", format("%d", std::numeric_limits<double>::quiet_NaN()), "0"},
        {"numbers under s", format("%.1s %s %s", -3, 0xFFFFFFFFU, 0.5), "-3 4294967295 0.500000"},
        {"text under d", format("%d", "text"), "text"},
        {"address under x", format("%x %p", reinterpret_cast<const void*>(0xAB), 0xAB), "ab 0xab"},
        {"missing", format("<%d %s %*d>", 1), "<1  >"},
        {"one too many", format("%d", 1, 2), "1"},
        {"unknown letter", format("%k %d", 5), "%k 5"},
        {"cut off", format("%d %-5.3l", 5), "5 %-5.3l"},
        {"percent at the end", format("100%", 5), "100%"},
        {"absurd precision is read to its end", format("%.99999999999999999999999s", "abc"), "abc"},
        {"appended", appended, "a1b"},
    });
}

// The C library rounds correctly too, and is somebody else's work.
TEST(format, prints_floating_point_as_the_c_library_does) {
    const char* const formats[] = {"%f",    "%-6.2f", "%#.0f", "%+.10f", "%012.3f", "% f", "%e",
                                   "%#.0e", "%.20E",  "%g",    "%.3G",   "%.0g",    "%F"};
    std::vector<double> values = {0.0,     -0.0, 0.005,  0.015,   2.5,  3.5,  -0.5,  9.995,
                                  99999.5, 1e6,  0.0001, 0.00001, 1e22, 1e23, 1e300, 5e-324};
    std::mt19937_64 random(20240607); // NOLINT: the same cases every time
    while (values.size() < 1000) {
        const auto bits = std::bit_cast<double>(random());
        if (bits == bits && bits - bits == 0) values.push_back(bits);
        values.push_back(static_cast<double>(static_cast<std::int64_t>(random() % 2000000) - 1000000) / 1000);
    }
    char expected[1024];
    for (const double value : values) {
        for (const char* const fmt : formats) {
            const auto length = static_cast<std::size_t>(std::snprintf(expected, sizeof expected, fmt, value));
            ASSERT_EQ(format(fmt, value), string_view(expected, length)) << fmt;
        }
    }
    EXPECT_EQ(format("%f %E", std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()),
              "inf NAN");
}

// By hand: the C library of some targets loses the zeros where rounding adds a digit.
TEST(format, keeps_the_zeros_of_alternative_general_form) {
    expect_all({
        {"plain", format("%#g %#.3g %#.0g", 1.0, 1.0, 5.0), "1.00000 1.00 5."},
        {"zero", format("%#g", 0.0), "0.00000"},
        {"all digits before the point", format("%#g", 100000.0), "100000."},
        {"rounds into a larger exponent", format("%#.3g %#.4G", 999.9, 99999.0), "1.00e+03 1.000E+05"},
        {"rounds up below it", format("%#.3g", 99.96), "100."},
        {"small", format("%#g %#g", 0.0001, 0.00001), "0.000100000 1.00000e-05"},
    });
}

// Makes the C library write a decimal comma; where the system has no such locale, by compiling one.
bool set_comma_locale() {
    if (std::setlocale(LC_NUMERIC, "German_Germany.1252") != nullptr) return true;
#ifndef _WIN32
    const auto folder =
        std::filesystem::temp_directory_path() / ("brmx_locale_" + std::to_string(std::random_device()()));
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "source")
        << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n";
    const auto command = "localedef -c -i " + (folder / "source").string() + " " + (folder / "comma").string();
    (void)!std::system((command + " 2>/dev/null").c_str()); // 1: it misses the other categories
    setenv("LOCPATH", folder.c_str(), 1);
    const bool set = std::setlocale(LC_NUMERIC, "comma") != nullptr;
    unsetenv("LOCPATH");
    std::filesystem::remove_all(folder);
    return set;
#else
    return false;
#endif
}

TEST(format, ignores_the_locale) {
    ASSERT_TRUE(set_comma_locale()) << "localedef is missing or has no character map";
    char by_the_library[8];
    std::snprintf(by_the_library, sizeof by_the_library, "%.2f", 1.5);
    EXPECT_STREQ(by_the_library, "1,50");
    EXPECT_EQ(format("%.2f %g", 1.5, 2.5), "1.50 2.5");
    std::setlocale(LC_NUMERIC, "C");
}

} // namespace
} // namespace tackle
