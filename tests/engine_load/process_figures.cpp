#include "tests/engine_load/process_figures.h"

#include "include/brmx.h"

#ifdef _WIN32

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

namespace {

std::uint64_t count_threads() {
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (all == INVALID_HANDLE_VALUE) return 0;
    std::uint64_t count = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(all, &entry); more != FALSE; more = Thread32Next(all, &entry))
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
    CloseHandle(all);
    return count;
}

void ask_system(process_figures& out) {
    PROCESS_MEMORY_COUNTERS memory{};
    if (K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory) != FALSE)
        out.resident_bytes = memory.WorkingSetSize;
    DWORD handles = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &handles) != FALSE) out.handles = handles;
    out.threads = count_threads();
}

} // namespace

#else

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

namespace {

std::uint64_t count_entries(const char* folder) {
    const std::filesystem::directory_iterator all(folder);
    return static_cast<std::uint64_t>(std::distance(begin(all), end(all)));
}

void ask_system(process_figures& out) {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages; // the second number is the resident one
    out.resident_bytes = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    out.threads = count_entries("/proc/self/task");
    out.handles = count_entries("/proc/self/fd") - 1; // without the folder's own
}

} // namespace

#endif

process_figures figures_of_this_process() {
    process_figures figures;
    ask_system(figures);
    std::uint32_t used = 0;
    if (BRMX_Engine_GetHeapInformation(nullptr, &used, nullptr, nullptr) == status_ok) figures.heap_bytes = used;
    return figures;
}
