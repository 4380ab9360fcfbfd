#pragma once

#include "server/handler/settings.h"
#include "server/listen/address.h"
#include "server/listen/connections.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace brimwarden::server::daemon {

// What is wrong in a configuration, and where: "FILE:LINE:COLUMN: what".
class bad_configuration : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct configuration {
    std::vector<listen::address> addresses;
    unsigned threads = 1; // for datagrams, at each address
    listen::connection_limits connections;
    std::string state;                     // folder
    std::string socket;                    // of the operator's tool; empty: "control" in the state folder
    std::string key;                       // the key file; empty: "key" in the state folder
    std::size_t most_unproven = 2'000'000; // signatures that were asked about and never reported
    handler::settings settings;
};

// Without a file: loopback alone, where asking needs no credentials. The state is in $STATE_DIRECTORY, or else in
// ~/.local/state/brimwarden.
[[nodiscard]] configuration default_configuration();

// Reads a TOML file over the defaults. Throws bad_configuration for the first thing that is wrong: a key that is not
// known, a value of the wrong kind or out of its range.
[[nodiscard]] configuration read_configuration(const std::string& path);

// Where the operator's socket file is.
[[nodiscard]] std::string control_path(const configuration& chosen);

// Throws bad_configuration for a name that is no IPv4 address: the protocol has no other.
[[nodiscard]] std::vector<listen::address> parse_addresses(const std::vector<std::string>& names, std::uint16_t port);

} // namespace brimwarden::server::daemon
