#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace brimwarden::server::tool {

struct beginning {
    std::string file;  // of the configuration, which must not be there yet
    std::string state; // folder
    std::string name;
    std::vector<std::string> addresses; // empty: loopback
    std::uint32_t mailboxes = 1;
    bool json = false;
};

// Writes a configuration with comments, makes the state with its keys, and gives out the first credential. Throws
// failure or store::failure; a configuration that was written is taken away again then.
void init(const beginning& wanted);

} // namespace brimwarden::server::tool
