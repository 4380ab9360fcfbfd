#include "platform/thread.h"

#include <windows.h>

#include <new>

namespace tackle::platform {

namespace {

struct task {
    void (*body)(void*);
    void* argument;
    HMODULE library; // counted for the thread
};

DWORD WINAPI run(void* given) {
    const task work = *static_cast<task*>(given);
    delete static_cast<task*>(given);
    work.body(work.argument);
    if (work.library != nullptr) FreeLibraryAndExitThread(work.library, 0);
    return 0;
}

} // namespace

bool start_urgent_thread(void (*body)(void*), void* argument, thread_handle& out) {
    out = 0;
    auto* work = new task{body, argument, nullptr};
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&run), &work->library);
    const HANDLE thread = CreateThread(nullptr, 0, run, work, CREATE_SUSPENDED, nullptr);
    if (thread == nullptr) {
        const DWORD error = GetLastError();
        if (work->library != nullptr) FreeLibrary(work->library);
        delete work;
        if (error == ERROR_NOT_ENOUGH_MEMORY) throw std::bad_alloc();
        SetLastError(error);
        return false;
    }
    // Just below the real-time range, but in a process of that class at its very top; there the lowest is enough.
    const bool real_time = GetPriorityClass(GetCurrentProcess()) == REALTIME_PRIORITY_CLASS;
    SetThreadPriority(thread, real_time ? THREAD_PRIORITY_IDLE : THREAD_PRIORITY_TIME_CRITICAL);
    ResumeThread(thread);
    out = reinterpret_cast<thread_handle>(thread);
    return true;
}

void join_thread(thread_handle thread) noexcept {
    const auto handle = reinterpret_cast<HANDLE>(thread);
    WaitForSingleObject(handle, INFINITE);
    CloseHandle(handle);
}

} // namespace tackle::platform
