#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace brimwarden::server::handler {

struct link_beginning {
    std::string_view text; // of the link's value
    bool has_path = false;
};

// What a link's value, "com.example.www/a/b", can be known by: the domain, each longer host, then each longer path, the
// whole value last. Zones in which anybody gets a domain, "uk.co", are left out unless they are the whole value. An
// address stands for itself. A value of more pieces than a client makes has only itself.
[[nodiscard]] std::vector<link_beginning> beginnings_of(std::string_view value);

} // namespace brimwarden::server::handler
