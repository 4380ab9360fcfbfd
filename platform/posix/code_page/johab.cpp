#include "platform/posix/code_page/johab.h"

namespace tackle::platform {
namespace {

constexpr char16_t nothing = 0xFFFD;
constexpr int filler = -1; // this place of the syllable is empty
constexpr int unused = -2;

// Each place of a syllable numbers its letters in its own way, with holes; these give back the numbers that Unicode
// counts by. A last consonant is optional there: its number 0 is the filler.
constexpr int first_letter(int bits) { return bits == 1 ? filler : bits >= 2 && bits <= 20 ? bits - 2 : unused; }

constexpr int vowel(int bits) {
    if (bits == 2) return filler;
    if (bits < 3 || bits % 8 < 2 || bits > 29) return unused;
    return bits - 3 - bits / 8 * 2;
}

constexpr int last_letter(int bits) {
    if (bits < 1 || bits == 18 || bits > 29) return unused;
    return bits - (bits < 18 ? 1 : 2);
}

char16_t syllable(unsigned code) {
    const int first = first_letter(static_cast<int>(code >> 10 & 31));
    const int middle = vowel(static_cast<int>(code >> 5 & 31));
    const int last = last_letter(static_cast<int>(code & 31));
    if (first == unused || middle == unused || last == unused) return nothing;
    // Letters alone, in the order of their own block.
    static constexpr char16_t first_alone[] = {0x3131, 0x3132, 0x3134, 0x3137, 0x3138, 0x3139, 0x3141,
                                               0x3142, 0x3143, 0x3145, 0x3146, 0x3147, 0x3148, 0x3149,
                                               0x314A, 0x314B, 0x314C, 0x314D, 0x314E};
    if (first == filler || middle == filler) {
        if (last != 0) return nothing;
        if (first != filler) return first_alone[first];
        return middle == filler ? nothing : static_cast<char16_t>(0x314F + middle);
    }
    return static_cast<char16_t>(0xAC00 + (first * 21 + middle) * 28 + last);
}

// The row of the standard that the lead byte's first half of trail bytes holds; 0 for none.
unsigned row_of(unsigned lead) {
    if (lead >= 0xD9 && lead <= 0xDE) return 1 + (lead - 0xD9) * 2;
    if (lead >= 0xE0 && lead <= 0xF9) return 42 + (lead - 0xE0) * 2;
    return 0;
}

} // namespace

std::vector<char16_t> johab_pairs(const std::vector<char16_t>& standard) {
    std::vector<char16_t> pairs(65536, nothing);
    for (unsigned code = 0x8400; code < 0xD400; ++code)
        pairs[code] = syllable(code);
    for (unsigned lead = 0xD9; lead <= 0xF9; ++lead) {
        const auto row = row_of(lead);
        for (unsigned place = 0; row != 0 && place < 2 * 94; ++place) {
            const unsigned trail = place < 78 ? 0x31 + place : 0x91 + place - 78;
            pairs[lead << 8 | trail] = standard[(row + place / 94 + 0xA0) << 8 | (place % 94 + 0xA1)];
        }
    }
    return pairs;
}

} // namespace tackle::platform
