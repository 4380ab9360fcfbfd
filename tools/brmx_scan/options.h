#pragma once

#include "tools/brmx_scan/engine.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brmx_scan {

enum class when : std::uint8_t { automatic, always, never };

struct options {
    std::vector<std::string> paths; // files and directories as given, "-" for standard input
    unsigned jobs = 1;              // threads that scan
    questions asked;
    bool trace = false;
    bool json = false;
    when mbox = when::automatic; // which files hold more than one message
    when summary = when::automatic;
    when color = when::automatic;
    bool sort = false; // by probability
    std::optional<int> fail_above;
    bool health = false;
    std::optional<std::u16string> group; // the community's host name
    std::uint32_t rediscovery_seconds = 0;
    std::string state; // file name; empty for none
    bool help = false;
    bool version = false;
};

// Reads the command line, and the environment variable BRMX_CREDENTIALS where it has no credentials: a command line can
// be read by every user of the machine. On a usage error `error` says what is wrong, and the rest is of no use.
struct parsed_options {
    options values;
    std::string error;
};
[[nodiscard]] parsed_options parse_options(const std::vector<std::string>& arguments);

extern const char* const usage_text;

} // namespace brmx_scan
