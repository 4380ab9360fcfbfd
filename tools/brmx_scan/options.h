#pragma once

#include <string>
#include <vector>

namespace brmx_scan {

struct options {
    std::vector<std::string> paths; // files and directories as given, "-" for standard input
    unsigned jobs = 1;              // threads that scan
    bool trace = false;
    bool languages = false;
    bool json = false;
    bool help = false;
    bool version = false;
};

// Reads the command line. On a usage error `error` says what is wrong, and the rest of the result is of no use.
struct parsed_options {
    options values;
    std::string error;
};
[[nodiscard]] parsed_options parse_options(const std::vector<std::string>& arguments);

extern const char* const usage_text;

} // namespace brmx_scan
