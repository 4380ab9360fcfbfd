#include "platform/character_class.h"

#include <gtest/gtest.h>

namespace tackle::platform {
namespace {

struct class_case {
    const char* label;
    char16_t unit;
    std::uint16_t classes;
};

TEST(character_class, knows_every_kind_of_unit) {
    const class_case cases[] = {
        {"tab", u'\t', defined | control | space | blank},
        {"line feed", u'\n', defined | control | space},
        {"blank", u' ', defined | space | blank},
        {"letter that is a hexadecimal digit", u'F', defined | alpha | upper | hex_digit},
        {"letter that is none", u'g', defined | alpha | lower},
        {"digit", u'9', defined | digit | hex_digit},
        {"currency sign of ASCII", u'$', defined | punct},
        {"currency sign beyond", 0x20AC, defined},
        {"no-break space", 0x00A0, defined | space | blank},
        {"soft hyphen", 0x00AD, defined | control | punct},
        {"zero width no-break space", 0xFEFF, defined | control | blank},
        {"Arabic digit", 0x0660, defined | digit},
        {"title-case letter", 0x01C5, defined | alpha | upper | lower},
        {"ideograph", 0x65E5, defined | alpha},
        {"combining accent", 0x0301, defined},
        {"surrogate", 0xD800, defined},
        {"private use", 0xE000, defined},
        {"unassigned", 0x0378, 0},
        {"last", 0xFFFF, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(character_classes()[c.unit], c.classes);
    }
}

TEST(character_class, lowers_units_that_have_a_way_back) {
    const struct {
        const char* label;
        char16_t unit;
        char16_t lowered;
    } cases[] = {
        {"ASCII", u'Z', u'z'},        {"Latin-1", 0x00C9, 0x00E9},   {"Cyrillic", 0x042F, 0x044F},
        {"no letter", u'[', u'['},    {"small already", u'z', u'z'}, {"Kelvin sign", 0x212A, 0x212A},
        {"dotted I", 0x0130, 0x0130}, {"surrogate", 0xD801, 0xD801}, {"full width", 0xFF21, 0xFF41},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(lower_unit(c.unit), c.lowered);
    }
}

} // namespace
} // namespace tackle::platform
