#include "tests/engine_load/process_figures.h"

#include "include/brmx.h"

#ifdef _WIN32
#include <windows.h>

#include <psapi.h>
#else
#include <filesystem>
#include <fstream>
#include <iterator>

#include <unistd.h>
#endif

process_figures figures_of_this_process() {
    process_figures figures;
#ifdef _WIN32
    PROCESS_MEMORY_COUNTERS memory{};
    if (K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory) != FALSE)
        figures.resident_bytes = memory.WorkingSetSize;
    DWORD handles = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &handles) != FALSE) figures.handles = handles;
#else
    const auto entries = [](const char* folder) {
        return static_cast<std::uint64_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    };
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages; // the second number is the resident one
    figures.resident_bytes = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    figures.threads = entries("/proc/self/task");
    figures.handles = entries("/proc/self/fd") - 1; // without the folder's own
#endif
    std::uint32_t used = 0;
    if (BRMX_Engine_GetHeapInformation(nullptr, &used, nullptr, nullptr) == status_ok) figures.heap_bytes = used;
    return figures;
}
