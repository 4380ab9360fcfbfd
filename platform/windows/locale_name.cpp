#include "platform/locale_name.h"

#include <windows.h>

#include <iterator>

namespace tackle::platform {

bool english_language_name(std::uint32_t lcid, std::u16string& name) {
    wchar_t buffer[128];
    const int length = GetLocaleInfoW(lcid, LOCALE_SENGLANGUAGE, buffer, static_cast<int>(std::size(buffer)));
    if (length <= 1) return false; // the terminator counts
    name.assign(buffer, buffer + length - 1);
    return true;
}

} // namespace tackle::platform
