#include "platform/destructor_list.h"

#include <windows.h>

// The run-time is part of this library, and keeps memory for exceptions that it gives back by this alone.
namespace __gnu_cxx {
void __freeres();
}

namespace {

constinit tackle::platform::destructor_list destructors;

} // namespace

extern "C" {

int __wrap_atexit(void (*destroy)()) noexcept;
int __wrap_atexit(void (*destroy)()) noexcept {
    const auto call = [](void* given) { reinterpret_cast<void (*)()>(given)(); };
    return destructors.add(call, reinterpret_cast<void*>(destroy)) ? 0 : -1;
}

// When the process ends, `process_ends` is set; the system has ended the other threads wherever they were, and what
// they held is held for ever.
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID process_ends) {
    if (reason == DLL_PROCESS_DETACH && process_ends == nullptr) {
        destructors.run();
        __gnu_cxx::__freeres();
    }
    return TRUE;
}
}
