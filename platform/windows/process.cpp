#include "platform/process.h"

#include <windows.h>

namespace tackle::platform {

std::string process_file_name() {
    char name[260];
    const DWORD length = GetModuleFileNameA(nullptr, name, sizeof name);
    return {name, length};
}

std::uint32_t process_id() noexcept { return GetCurrentProcessId(); }

char path_separator() noexcept { return '\\'; }

} // namespace tackle::platform
