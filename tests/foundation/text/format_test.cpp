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
    string printed;
    string expected;
};

void expect_all(const std::vector<format_case>& cases) {
    for (const auto& c : cases)
        EXPECT_EQ(c.printed, c.expected);
}

TEST(format, prints_integers_by_their_own_type) {
    enum class scoped : std::uint8_t { value = 200 };
    expect_all({{format("%X %i %u", -1, 0xFFFFFFFFU, -1), "FFFFFFFF -1 4294967295"},
                {format("%.2X %.2X", static_cast<signed char>(0x80), static_cast<unsigned char>(0x80)), "FFFFFF80 80"},
                {format("%I64i %llu", std::uint64_t{0} - 1, std::int64_t{-1}), "-1 18446744073709551615"},
                {format("%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
                {format("%hd", 70000), "70000"},
                {format("%hhd%hd%ld%lld%zd%jd%td%I32d%I64d%qd%wd", 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1), "12345678901"},
                {format("%d%u", true, scoped::value), "1200"},
                {format("%o %#o %#o %#x %#X %#x", 8, 8, 0, 255, 255, 0), "10 010 0 0xff 0XFF 0"},
                {format("%c%c%c", 'a', 0x62, 0), string("ab\0", 3)}});
}

TEST(format, pads_and_signs) {
    expect_all({{format("[%5d][%-5d][%05d][%-05d]", 42, 42, 42, 42), "[   42][42   ][00042][42   ]"},
                {format("[%05d][%+05d][%+ d][% d][% d]", -42, 42, 1, 1, -1), "[-0042][+0042][+1][ 1][-1]"},
                {format("[%.3d][%6.3d][%-6.3d][%06.3d]", 7, 7, -7, 7), "[007][   007][-007  ][   007]"},
                {format("[%.0d][%.0x][%+.0d]", 0, 0, 0), "[][][+]"},
                {format("[%#.3o][%#.0o][%#08x]", 8, 0, 255), "[010][0][0x0000ff]"},
                {format("[%*d][%-*d][%.*f]", 4, 1, 4, 2, 1, 2.55), "[   1][2   ][2.5]"},
                {format("[%*d][%.*f]", -4, 1, -1, 0.5), "[1   ][0.500000]"},
                {format("[%.f][%.s][%3c][%-3c]", 2.5, "abc", 'x', 'y'), "[2][][  x][y  ]"},
                {format("[%06f]", -std::numeric_limits<double>::infinity()), "[  -inf]"},
                {format("[%05p][%6p]", nullptr, static_cast<void*>(nullptr)), "[  0x0][   0x0]"}});
}

TEST(format, prints_text) {
    const char unterminated[] = {'a', 'b', 'c'};
    char array[8] = "array";
    expect_all({{format("%s %s %s %s", "literal", string("a\0b", 3), string_view("viewed", 4), array),
                 string("literal a\0b view array", 22)},
                {format("[%5s][%-5s][%.2s][%5.1s]", "abc", "abc", "abc", "abc"), "[  abc][abc  ][ab][    a]"},
                {format("[%.9s][%.3s]", "abc", string_view("abcd", 2)), "[abc][ab]"},
                {format("%.3s", static_cast<const char*>(unterminated)), "abc"}, // and reads no further
                {format("%s 100%% of %d%%", static_cast<const char*>(nullptr), 5), "(null) 100% of 5%"},
                {format("%3000d%s", 7, string(5000, 'x')), string(2999, ' ') + "7" + string(5000, 'x')},
                {format("%.2000f", 1.0), "1." + string(2000, '0')}});
    EXPECT_EQ(format(u"%-6.2f%s -- %s", 12.5, u"Name", wstring_view(u"\u20ac")), u"12.50 Name -- \u20ac");
    EXPECT_EQ(format(u"[%4s][%.1s]%c%X", u"\u20ac", u"\u20ac\u20ac", u'\u20ac', -1),
              u"[   \u20ac][\u20ac]\u20acFFFFFFFF");
    EXPECT_EQ(format(u"\u0125\u0164%d%\u0164", 1), u"\u0125\u01641%\u0164"); // low bytes of a percent sign and a letter
}

TEST(format, has_an_answer_to_every_mismatch) {
    string appended = "a";
    append_format(appended, "%d%s", 1, "b");
    expect_all({{format("%.1f %.1f", 3, 0xFFFFFFFFU), "3.0 4294967295.0"},
                {format("%d %d %d", 3.9, -3.9, std::numeric_limits<double>::quiet_NaN()), "3 -3 0"},
                {format("%d %u", 1e300, -1e300), "9223372036854775807 9223372036854775808"},
                {format("%.1s %s %s", -3, 0xFFFFFFFFU, 0.5), "-3 4294967295 0.500000"},
                {format("%d %x %p", "text", reinterpret_cast<const void*>(0xAB), 0xAB), "text ab 0xab"},
                {format("<%d %s %*d>", 1), "<1  >"},
                {format("%d", 1, 2), "1"},
                {format("%k %d %-5.3l", 5), "%k 5 %-5.3l"},
                {format("100%", 5), "100%"},
                {format("%.99999999999999999999999s", "abc"), "abc"},
                {appended, "a1b"}});
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
    expect_all({{format("%#g %#.3g %#.0g %#g", 1.0, 1.0, 5.0, 0.0), "1.00000 1.00 5. 0.00000"},
                {format("%#g %#.3g %#.4G", 100000.0, 999.9, 99999.0), "100000. 1.00e+03 1.000E+05"},
                {format("%#.3g %#g %#g", 99.96, 0.0001, 0.00001), "100. 0.000100000 1.00000e-05"}});
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
