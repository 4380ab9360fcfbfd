#include "platform/code_page.h"

#include <climits>
#include <windows.h>

namespace tackle::platform {
namespace {

// Each direction reads two numbers in its own way. 87: an unknown code page, or text that has no place in a known one.
// 1113: bytes that stand for no text; writing explains nothing with it.
conversion judge(conversion invalid_parameter, conversion no_translation) {
    switch (GetLastError()) {
    case ERROR_INSUFFICIENT_BUFFER:
        return conversion::too_small;
    case ERROR_INVALID_PARAMETER:
        return invalid_parameter;
    case ERROR_NO_UNICODE_TRANSLATION:
        return no_translation;
    default:
        return conversion::failed;
    }
}

} // namespace

conversion widen(std::uint32_t code_page, std::string_view bytes, bool strict, std::u16string& out) {
    out.clear();
    if (bytes.empty()) return conversion::ok;
    if (bytes.size() > INT_MAX) return conversion::failed;
    const auto size = static_cast<int>(bytes.size());
    out.resize(bytes.size());
    SetLastError(ERROR_SUCCESS); // bytes that stand for no unit leave it as it was
    const int length = MultiByteToWideChar(code_page, strict ? MB_ERR_INVALID_CHARS : 0, bytes.data(), size,
                                           reinterpret_cast<wchar_t*>(out.data()), size);
    if (length <= 0) return judge(conversion::invalid_code_page, conversion::unmappable);
    out.resize(static_cast<std::size_t>(length));
    return conversion::ok;
}

conversion narrow(std::uint32_t code_page, std::u16string_view units, std::string& out, bool* used_default) {
    out.clear();
    if (used_default != nullptr) *used_default = false;
    if (units.empty()) return conversion::ok;
    CPINFO info{};
    if (!GetCPInfo(code_page, &info)) return conversion::invalid_code_page;
    if (units.size() > INT_MAX / info.MaxCharSize) return conversion::failed;
    out.resize(units.size() * info.MaxCharSize);
    BOOL used = FALSE;
    const int length = WideCharToMultiByte(code_page, 0, reinterpret_cast<const wchar_t*>(units.data()),
                                           static_cast<int>(units.size()), out.data(), static_cast<int>(out.size()),
                                           nullptr, used_default != nullptr ? &used : nullptr);
    if (length <= 0) return judge(conversion::unmappable, conversion::failed);
    out.resize(static_cast<std::size_t>(length));
    if (used_default != nullptr) *used_default = used != FALSE;
    return conversion::ok;
}

} // namespace tackle::platform
