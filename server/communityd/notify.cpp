#include "server/communityd/notify.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace brimwarden::server::communityd {

void notify(const char* state) {
    const char* path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un place{};
    if (path == nullptr || (path[0] != '/' && path[0] != '@') || std::strlen(path) >= sizeof place.sun_path) return;
    place.sun_family = AF_UNIX;
    std::strcpy(place.sun_path, path);
    if (path[0] == '@') place.sun_path[0] = '\0'; // an abstract name
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0) return;
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::strlen(path));
    (void)::sendto(socket, state, std::strlen(state), 0, reinterpret_cast<const sockaddr*>(&place), size);
    ::close(socket);
}

std::optional<std::chrono::microseconds> watchdog_period() {
    const char* period = std::getenv("WATCHDOG_USEC");
    const char* process = std::getenv("WATCHDOG_PID");
    if (period == nullptr || (process != nullptr && std::to_string(::getpid()) != process)) return std::nullopt;
    const long long value = std::atoll(period);
    if (value <= 0) return std::nullopt;
    return std::chrono::microseconds(value);
}

} // namespace brimwarden::server::communityd
