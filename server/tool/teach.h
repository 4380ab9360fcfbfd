#pragma once

#include "server/tool/operator_link.h"

#include <string>
#include <vector>

namespace brimwarden::server::tool {

struct lesson {
    std::vector<std::string> paths; // files, folders, Maildirs, mboxes; "-" is standard input
    bool wanted = false;
    std::string why;
    bool json = false;
};

// Teaches the server every message. One that cannot be read, or that the server refuses, is named on standard error and
// passed over; false if there was one, or no message at all. Shows progress if standard error is a terminal.
[[nodiscard]] bool teach(operator_link& server, const lesson& given);

} // namespace brimwarden::server::tool
