#pragma once

#include <cstdint>

// What the system counts for this process.
struct process_figures {
    std::uint64_t resident_bytes = 0;
    std::uint64_t heap_bytes = 0; // in use; 0 under a sanitizer, whose heap does not tell
    std::uint64_t threads = 0;    // 0 on Windows, where `handles` includes theirs
    std::uint64_t handles = 0;    // descriptors, sockets included
};

[[nodiscard]] process_figures figures_of_this_process();
