#include "platform/heap.h"

#include <malloc.h>

namespace tackle::platform {

// The allocator of the C library counts its used bytes but not its used blocks, and walking its chunks from outside
// would be a race. So what it took from the system in one growing piece counts as one block, and each block that is so
// large that it got a mapping of its own as another.
heap_report report_heap() noexcept {
    const auto info = mallinfo2();
    heap_report report;
    report.used_blocks = static_cast<std::uint32_t>(info.hblks + (info.uordblks != 0 ? 1 : 0));
    report.used_bytes = static_cast<std::uint32_t>(info.uordblks + info.hblkhd);
    report.free_blocks = static_cast<std::uint32_t>(info.ordblks + info.smblks);
    report.free_bytes = static_cast<std::uint32_t>(info.fordblks);
    return report;
}

} // namespace tackle::platform
