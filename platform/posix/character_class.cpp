#include "platform/character_class.h"

#include <memory>
#include <unicode/uchar.h>

namespace tackle::platform {
namespace {

constexpr unsigned unit_count = 65536;

// The tables follow this version of Unicode whatever the installed ICU knows: a system update must not change a score.
constexpr std::uint8_t newest_version = 15;

struct tables {
    std::uint16_t classes[unit_count];
    char16_t lower_case[unit_count];
};

bool known(UChar32 unit) {
    UVersionInfo age;
    u_charAge(unit, age);
    return age[0] <= newest_version;
}

std::uint16_t class_of_category(UChar32 unit) {
    switch (u_charType(unit)) {
    case U_UNASSIGNED:
        return 0;
    case U_UPPERCASE_LETTER:
        return defined | alpha | upper;
    case U_LOWERCASE_LETTER:
        return defined | alpha | lower;
    case U_TITLECASE_LETTER:
        return defined | alpha | upper | lower;
    case U_MODIFIER_LETTER:
    case U_OTHER_LETTER:
    case U_LETTER_NUMBER:
        return defined | alpha;
    case U_DECIMAL_DIGIT_NUMBER:
        return defined | digit;
    case U_SPACE_SEPARATOR:
    case U_LINE_SEPARATOR:
    case U_PARAGRAPH_SEPARATOR:
        return defined | space;
    case U_CONTROL_CHAR:
    case U_FORMAT_CHAR:
        return defined | control;
    case U_DASH_PUNCTUATION:
    case U_START_PUNCTUATION:
    case U_END_PUNCTUATION:
    case U_CONNECTOR_PUNCTUATION:
    case U_OTHER_PUNCTUATION:
    case U_INITIAL_PUNCTUATION:
    case U_FINAL_PUNCTUATION:
        return defined | punct;
    default: // marks, symbols, other numbers, surrogates, private use
        return defined;
    }
}

// What the classes say beyond the categories goes back to the time before Unicode had any.
std::uint16_t class_by_tradition(UChar32 unit) {
    const bool latin_1_sign = unit > 0x20 && unit < 0x100 && !u_isalnum(unit) && !u_iscntrl(unit) && unit != 0xA0;
    std::uint16_t bits = latin_1_sign ? punct : 0;
    const bool full_width = unit >= 0xFF00 && unit < 0xFF60;
    if ((unit < 0x80 || full_width) && u_isxdigit(unit)) bits |= hex_digit;
    switch (unit) {
    case 0x0009:
        return bits | space | blank;
    case 0x000A:
    case 0x000B:
    case 0x000C:
    case 0x000D:
    case 0x0085:
        return bits | space;
    case 0x0020:
    case 0x00A0:
    case 0x3000:
    case 0xFEFF:
        return bits | blank;
    case 0x00B2: // the superscript digits of Latin-1 count as digits and as signs
    case 0x00B3:
    case 0x00B9:
        return bits | digit | punct;
    case 0x00AA: // the ordinals and the micro sign are letters and signs, two superscript letters small ones
    case 0x00B5:
    case 0x00BA:
        return bits | punct | (unit == 0xB5 ? 0 : lower);
    case 0x2071:
    case 0x207F:
        return bits | lower;
    case 0x00AD:
        return bits | punct;
    default:
        return bits;
    }
}

// Only where the way back leads to the same unit: the Kelvin sign stays, although its small letter is a "k".
UChar32 lower_of(UChar32 unit) {
    const UChar32 lowered = u_tolower(unit);
    return lowered < static_cast<UChar32>(unit_count) && u_toupper(lowered) == unit ? lowered : unit;
}

std::unique_ptr<const tables> load() {
    auto loaded = std::make_unique<tables>();
    for (unsigned i = 0; i < unit_count; ++i) {
        const auto unit = static_cast<UChar32>(i);
        const bool has_meaning = known(unit);
        loaded->classes[i] =
            has_meaning ? static_cast<std::uint16_t>(class_of_category(unit) | class_by_tradition(unit)) : 0;
        loaded->lower_case[i] = static_cast<char16_t>(has_meaning ? lower_of(unit) : unit);
    }
    return loaded;
}

const tables& all() {
    static const auto loaded = load();
    return *loaded;
}

} // namespace

const std::uint16_t* character_classes() { return all().classes; }

const char16_t* lower_case_map() { return all().lower_case; }

} // namespace tackle::platform
