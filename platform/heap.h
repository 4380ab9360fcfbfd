#pragma once

#include <cstdint>

namespace tackle::platform {

// A count of the heap from which this library allocates. 32 bits each, and they wrap.
struct heap_report {
    std::uint32_t used_blocks = 0;
    std::uint32_t used_bytes = 0;
    std::uint32_t free_blocks = 0;
    std::uint32_t free_bytes = 0;
};

// Any thread; stops other threads' allocations for as long as it walks.
[[nodiscard]] heap_report report_heap() noexcept;

} // namespace tackle::platform
