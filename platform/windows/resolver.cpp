#include "platform/resolver.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstring>
#include <memory>

namespace tackle::platform {

namespace {

resolver_status status_of(int result) noexcept {
    switch (result) {
    case 0:
        return {};
    case WSANOTINITIALISED:
        return {resolver_cause::not_started, static_cast<std::uint32_t>(result)};
    case WSATYPE_NOT_FOUND:
        return {resolver_cause::unknown_service, static_cast<std::uint32_t>(result)};
    case WSAHOST_NOT_FOUND:
    case WSANO_DATA:
        return {resolver_cause::unknown_host, static_cast<std::uint32_t>(result)};
    default:
        return {resolver_cause::other, static_cast<std::uint32_t>(result)};
    }
}

} // namespace

resolver_status look_up(const char* host, const char* service, std::vector<raw_address>& out) {
    addrinfo* found = nullptr;
    const int result = getaddrinfo(host, service, nullptr, &found);
    WSASetLastError(result);
    if (result != 0) return status_of(result);
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, &freeaddrinfo);
    for (const addrinfo* entry = list.get(); entry != nullptr; entry = entry->ai_next) {
        if (entry->ai_family != AF_INET || entry->ai_addrlen != sizeof(raw_address)) continue;
        std::memcpy(out.emplace_back().data(), entry->ai_addr, sizeof(raw_address));
    }
    return {};
}

resolver_status name_of(const void* address, std::uint32_t size, name_style style, std::string& out) {
    char host[1025] = ""; // as long as a name can get; Wine calls an unknown one a success and leaves it out
    const int flags = (style.without_own_domain ? NI_NOFQDN : 0) | (style.numeric ? NI_NUMERICHOST : 0) |
                      (style.required ? NI_NAMEREQD : 0);
    const int result = getnameinfo(static_cast<const sockaddr*>(address), static_cast<socklen_t>(size), host,
                                   sizeof host, nullptr, 0, flags);
    if (result == 0) out = host;
    return status_of(result);
}

} // namespace tackle::platform
