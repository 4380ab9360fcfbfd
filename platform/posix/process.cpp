#include "platform/process.h"

#include <unistd.h>

namespace tackle::platform {

std::string process_file_name() {
    char name[260];
    const auto length = readlink("/proc/self/exe", name, sizeof name);
    return length < 0 ? std::string() : std::string(name, static_cast<std::size_t>(length));
}

std::uint32_t process_id() noexcept { return static_cast<std::uint32_t>(getpid()); }

char path_separator() noexcept { return '/'; }

} // namespace tackle::platform
