// Prints the character tables of the target it is built for, one fact a line, so that those of two targets can be
// compared: "class UNIT BITS", "lower UNIT UNIT", "page NUMBER BYTES UNITS BACK", "page NUMBER U+UNIT BYTES". All
// numbers but the code page's are hexadecimal; UNITS is "-" where the bytes stand for nothing, BACK is the bytes that
// UNITS go back to, "-" if none. A unit that becomes the default character has no line.
#include "platform/character_class.h"
#include "platform/code_page.h"

#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>

namespace {

namespace platform = tackle::platform;

constexpr std::uint32_t single_byte_pages[] = {
    37,    437,   500,   708,   720,   737,   775,   850,   852,   855,   857,   858,   860,   861,   862,   863,
    864,   865,   866,   869,   870,   874,   875,   1026,  1047,  1140,  1141,  1142,  1143,  1144,  1145,  1146,
    1147,  1148,  1149,  1250,  1251,  1252,  1253,  1254,  1255,  1256,  1257,  1258,  10000, 10004, 10005, 10006,
    10007, 10010, 10017, 10021, 10029, 10079, 10081, 10082, 20105, 20106, 20107, 20108, 20127, 20269, 20273, 20277,
    20278, 20280, 20284, 20285, 20290, 20297, 20420, 20423, 20424, 20833, 20838, 20866, 20871, 20880, 20905, 20924,
    21025, 21866, 28591, 28592, 28593, 28594, 28595, 28596, 28597, 28598, 28599, 28603, 28605, 29001, 38598};

constexpr std::uint32_t double_byte_pages[] = {932,   936,   949,   950,   1361,  10001, 10002, 10003,
                                               10008, 20000, 20001, 20002, 20003, 20004, 20005, 20261,
                                               20932, 20936, 20949, 51932, 51936, 51949};

constexpr std::uint32_t other_pages[] = {1200,  1201,  12000, 12001, 50220, 50221, 50222, 50225, 50227, 52936, 54936,
                                         57002, 57003, 57004, 57005, 57006, 57007, 57008, 57009, 57010, 57011, 65000};

template <typename text>
std::string hex(const text& units, int digits) {
    std::string out;
    char buffer[8];
    for (const auto unit : units) {
        std::snprintf(buffer, sizeof buffer, "%0*X", digits, static_cast<unsigned>(unit) & 0xFFFF);
        out += buffer;
    }
    return out;
}

void print_classes() {
    for (unsigned unit = 0; unit < 0x10000; ++unit)
        std::printf("class %04X %03X\n", unit, platform::character_classes()[unit]);
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const unsigned lower = platform::lower_case_map()[unit];
        if (lower != unit) std::printf("lower %04X %04X\n", unit, lower);
    }
}

void print_bytes(std::uint32_t page, const std::string& bytes, bool strict = true) {
    std::u16string units;
    std::basic_string<unsigned char> shown(bytes.begin(), bytes.end());
    const auto status = platform::widen(page, bytes, strict, units);
    if (status != platform::conversion::ok) {
        std::printf("page %u %s -\n", page, hex(shown, 2).c_str());
        return;
    }
    std::string back;
    bool used_default = false;
    const bool narrowed =
        platform::narrow(page, units, back, strict ? &used_default : nullptr) == platform::conversion::ok;
    shown.assign(back.begin(), back.end());
    const auto answer = narrowed && !used_default ? hex(shown, 2) : std::string("-");
    shown.assign(bytes.begin(), bytes.end());
    std::printf("page %u %s %s %s\n", page, hex(shown, 2).c_str(), hex(units, 4).c_str(), answer.c_str());
}

// Each unit by itself, also those that no byte stands for: a system may have a look-alike for them.
void print_units(std::uint32_t page, bool tells_default = true) {
    std::string bytes;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const auto wide = static_cast<char16_t>(unit);
        bool used_default = false;
        const auto status = platform::narrow(page, {&wide, 1}, bytes, tells_default ? &used_default : nullptr);
        if (status != platform::conversion::ok || used_default) continue;
        const std::basic_string<unsigned char> shown(bytes.begin(), bytes.end());
        std::printf("page %u U+%04X %s\n", page, unit, hex(shown, 2).c_str());
    }
}

// Sequences of every lead byte, well-formed and not, each with an "A" behind it that must come through.
void print_utf8() {
    constexpr std::uint32_t utf8 = 65001;
    const std::string seconds("\x00\x41\x80\x8F\x90\x9F\xA0\xBF\xC2\xE1\xF1\xFF", 12);
    const std::string others("\x41\x80\xBF\xC2", 4);
    for (int lead = 0x80; lead < 0x100; ++lead) {
        const std::string first(1, static_cast<char>(lead));
        print_bytes(utf8, first, false);
        for (const char second : seconds) {
            print_bytes(utf8, first + second + 'A', false);
            if (lead < 0xE0) continue;
            for (const char third : others) {
                print_bytes(utf8, first + second + third, false); // cut off
                for (const char fourth : others)
                    print_bytes(utf8, first + second + third + fourth + 'A', false);
            }
        }
    }
}

// Pages that know no flags are asked without, and in text: their bytes mean nothing one by one.
bool supported(std::uint32_t page) {
    std::u16string units;
    const bool known = platform::widen(page, "A", false, units) != platform::conversion::invalid_code_page;
    if (!known) std::printf("page %u unknown\n", page);
    return known;
}

} // namespace

int main() {
    print_classes();
    for (const auto page : single_byte_pages) {
        if (!supported(page)) continue;
        for (int byte = 0; byte < 0x100; ++byte)
            print_bytes(page, std::string(1, static_cast<char>(byte)));
        print_units(page);
    }
    for (const auto page : double_byte_pages) {
        if (!supported(page)) continue;
        for (int byte = 0; byte < 0x100; ++byte)
            print_bytes(page, std::string(1, static_cast<char>(byte)));
        for (int lead = 0x80; lead < 0x100; ++lead)
            for (int trail = 0x20; trail < 0x100; ++trail)
                print_bytes(page, {static_cast<char>(lead), static_cast<char>(trail)});
        print_units(page);
    }
    print_utf8();
    for (const std::uint32_t page : {42u, 65000u, 65001u})
        print_units(page, false);
    for (const auto page : other_pages)
        if (supported(page)) std::printf("page %u known\n", page);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
