#include "platform/heap.h"

#include <malloc.h>
#include <windows.h>

namespace tackle::platform {

heap_report report_heap() noexcept {
    // The heap of the C run-time, which is not everywhere the one of the process.
    const auto heap = reinterpret_cast<HANDLE>(_get_heap_handle());
    heap_report report;
    PROCESS_HEAP_ENTRY entry{};
    const bool locked = HeapLock(heap) != FALSE;
    while (HeapWalk(heap, &entry)) {
        if ((entry.wFlags & (PROCESS_HEAP_REGION | PROCESS_HEAP_UNCOMMITTED_RANGE)) != 0) continue;
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            ++report.used_blocks;
            report.used_bytes += entry.cbData;
        } else {
            ++report.free_blocks;
            report.free_bytes += entry.cbData;
        }
    }
    if (locked) HeapUnlock(heap);
    return report;
}

} // namespace tackle::platform
