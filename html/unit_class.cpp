#include "html/unit_class.h"

#include "platform/character_class.h"

#include <vector>

namespace tackle::html {

// A table of its own, since a parser asks for each unit of a message: a quarter of the platform's table and one bit to
// test, with "#" folded in.
const std::uint8_t* unit_classes() {
    static const std::vector<std::uint8_t> classes = [] {
        std::vector<std::uint8_t> built(0x10000);
        const auto* known = platform::character_classes();
        for (std::size_t unit = 0; unit < built.size(); ++unit) {
            if ((known[unit] & (platform::space | platform::blank)) != 0) built[unit] |= white_unit;
            if ((known[unit] & (platform::alpha | platform::digit)) != 0) built[unit] |= name_unit;
        }
        built[u'#'] |= name_unit;
        return built;
    }();
    return classes.data();
}

} // namespace tackle::html
