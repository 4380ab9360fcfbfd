#include "platform/resolver.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace tackle::platform {

namespace {

resolver_status status_of(int result) noexcept {
    switch (result) {
    case 0:
        return {};
    case EAI_NONAME:
    case EAI_NODATA:
    case EAI_ADDRFAMILY:
        return {resolver_cause::unknown_host, static_cast<std::uint32_t>(result)};
    case EAI_SERVICE:
        return {resolver_cause::unknown_service, static_cast<std::uint32_t>(result)};
    case EAI_SYSTEM:
        return {resolver_cause::other, static_cast<std::uint32_t>(errno)};
    default:
        return {resolver_cause::other, static_cast<std::uint32_t>(result)};
    }
}

} // namespace

resolver_status look_up(const char* host, const char* service, std::vector<raw_address>& out) {
    addrinfo* found = nullptr;
    if (const int result = getaddrinfo(host, service, nullptr, &found); result != 0) return status_of(result);
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, &freeaddrinfo);
    for (const addrinfo* entry = list.get(); entry != nullptr; entry = entry->ai_next) {
        if (entry->ai_family != AF_INET || entry->ai_addrlen != sizeof(raw_address)) continue;
        std::memcpy(out.emplace_back().data(), entry->ai_addr, sizeof(raw_address));
    }
    return {};
}

resolver_status name_of(const void* address, std::uint32_t size, name_style style, std::string& out) {
    char host[1025]; // as long as a name can get
    const int flags = (style.without_own_domain ? NI_NOFQDN : 0) | (style.numeric ? NI_NUMERICHOST : 0) |
                      (style.required ? NI_NAMEREQD : 0);
    const int result = getnameinfo(static_cast<const sockaddr*>(address), size, host, sizeof host, nullptr, 0, flags);
    if (result == 0) out = host;
    return status_of(result);
}

} // namespace tackle::platform
