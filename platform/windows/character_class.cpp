#include "platform/character_class.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <windows.h>

namespace tackle::platform {
namespace {

constexpr int unit_count = 65536;

struct tables {
    std::uint16_t classes[unit_count];
    char16_t lower_case[unit_count];
};

// If the system refuses a call, no unit has a class, or each is its own lower-case form.
std::unique_ptr<const tables> load() {
    auto loaded = std::make_unique<tables>();
    const auto units = std::make_unique<wchar_t[]>(unit_count);
    std::iota(units.get(), units.get() + unit_count, wchar_t{0});
    static_assert(sizeof(WORD) == sizeof(std::uint16_t) && sizeof(wchar_t) == sizeof(char16_t));
    if (!GetStringTypeW(CT_CTYPE1, units.get(), unit_count, loaded->classes)) {
        std::fill(std::begin(loaded->classes), std::end(loaded->classes), std::uint16_t{0});
    }
    std::iota(std::begin(loaded->lower_case), std::end(loaded->lower_case), char16_t{0});
    const auto lowered = std::make_unique<wchar_t[]>(unit_count);
    if (LCMapStringW(LOCALE_INVARIANT, LCMAP_LOWERCASE, units.get(), unit_count, lowered.get(), unit_count) ==
        unit_count) {
        std::copy_n(lowered.get(), unit_count, loaded->lower_case);
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
