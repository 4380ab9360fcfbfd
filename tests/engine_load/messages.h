#pragma once

#include <string>
#include <vector>

// The files of the folder that the environment variable BRMX_LOAD_MESSAGES names, at any depth; without it, made-up
// messages, each with an address, links and words of its own, and one in eight with more than a datagram can ask.
[[nodiscard]] std::vector<std::string> messages_to_scan();
