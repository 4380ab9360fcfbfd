#pragma once

#include "platform/socket.h"

#include <string>
#include <vector>

// The system's name service, IPv4 answers only. Blocks for as long as that takes; any thread, nothing raised.
namespace tackle::platform {

enum class resolver_cause : std::uint8_t { none, not_started, unknown_service, unknown_host, other };

struct resolver_status {
    resolver_cause cause = resolver_cause::none;
    std::uint32_t number = 0; // the system's own, for texts
    [[nodiscard]] bool failed() const noexcept { return cause != resolver_cause::none; }
};

// Appends the IPv4 addresses of the answer in its order, with repetitions; a host without any is no failure. Without a
// service (null) the port is 0.
[[nodiscard]] resolver_status look_up(const char* host, const char* service, std::vector<raw_address>& out);

struct name_style {
    bool without_own_domain = false;
    bool numeric = false;
    bool required = false; // fail rather than give digits
};
[[nodiscard]] resolver_status name_of(const void* address, std::uint32_t size, name_style style, std::string& out);

} // namespace tackle::platform
