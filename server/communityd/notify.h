#pragma once

#include <chrono>
#include <optional>

// systemd's notification protocol: a datagram to the socket that the environment names. Does nothing elsewhere.
namespace brimwarden::server::communityd {

void notify(const char* state);

// How often "WATCHDOG=1" is expected; nullopt without a watchdog.
[[nodiscard]] std::optional<std::chrono::microseconds> watchdog_period();

} // namespace brimwarden::server::communityd
