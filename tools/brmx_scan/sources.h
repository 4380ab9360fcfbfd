#pragma once

#include <string>
#include <vector>

namespace brmx_scan {

// One message to scan. A name that could not be listed carries the reason, and is reported like an unreadable file.
struct source {
    std::string name; // as shown to the user; "-" is standard input
    std::string error;
};

// Files as they are given, and for a directory every regular file below it in the order of names. Links to directories
// inside a directory are not followed, so a loop of links comes to an end.
[[nodiscard]] std::vector<source> list_sources(const std::vector<std::string>& paths);

// Reads the whole of a source into `content`. Returns the reason why that is impossible, empty on success.
[[nodiscard]] std::string read_source(const std::string& name, std::string& content);

} // namespace brmx_scan
