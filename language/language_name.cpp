#include "language/language_name.h"

#include "platform/locale_name.h"

#include <algorithm>
#include <iterator>

namespace brimwarden::language {

namespace {

struct language_name {
    std::uint32_t lcid;
    tackle::wstring_view name;
};

// As Windows spells them. It knows all but 2129, and older releases spell the Chinese ones, 1044 and 2128 shorter.
constexpr language_name names[] = {
    {1025, u"Arabic"},
    {1028, u"Chinese (Traditional)"},
    {1029, u"Czech"},
    {1030, u"Danish"},
    {1031, u"German"},
    {1032, u"Greek"},
    {1035, u"Finnish"},
    {1036, u"French"},
    {1037, u"Hebrew"},
    {1038, u"Hungarian"},
    {1040, u"Italian"},
    {1041, u"Japanese"},
    {1042, u"Korean"},
    {1043, u"Dutch"},
    {1044, u"Norwegian Bokm\u00E5l"},
    {1045, u"Polish"},
    {1046, u"Portuguese"},
    {1049, u"Russian"},
    {1053, u"Swedish"},
    {1054, u"Thai"},
    {1055, u"Turkish"},
    {1066, u"Vietnamese"},
    {1067, u"Armenian"},
    {1114, u"Syriac"},
    {1118, u"Amharic"},
    {2052, u"Chinese (Simplified)"},
    {2057, u"English"},
    {2070, u"Portuguese"},
    {2128, u"Mongolian (Mongolian)"},
    {2129, u"Tibetan"},
    {3082, u"Spanish"},
};
static_assert(std::ranges::is_sorted(names, {}, &language_name::lcid));

} // namespace

tackle::wstring_view tabled_name(std::uint32_t lcid) {
    const auto* const found = std::ranges::lower_bound(names, lcid, {}, &language_name::lcid);
    return found != std::end(names) && found->lcid == lcid ? found->name : tackle::wstring_view();
}

tackle::wstring english_name(std::uint32_t lcid) {
    tackle::wstring name;
    if (tackle::platform::english_language_name(lcid, name)) return name;
    return tackle::wstring(tabled_name(lcid));
}

} // namespace brimwarden::language
