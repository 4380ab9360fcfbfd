#include "platform/destructor_list.h"

// Tells the end of the process from an unloading of the library by the order that both have. exit() calls all
// registered handlers, and after them the functions that end each library. dlclose() calls the function that ends this
// library, and that one the handlers registered with its handle. So the handler comes first when the process ends, and
// only then.
extern "C" {
extern void* __dso_handle;
int __real___cxa_atexit(void (*)(void*), void*, void*);

int __wrap___cxa_atexit(void (*destroy)(void*), void* object, void* library) noexcept;
}

namespace {

constinit tackle::platform::destructor_list destructors;
constinit bool process_ends = false;

__attribute__((constructor)) void watch_for_the_end() noexcept {
    // Refused for lack of memory: never free anything then, as the two cases cannot be told apart.
    process_ends = __real___cxa_atexit([](void*) { process_ends = true; }, nullptr, &__dso_handle) != 0;
}

__attribute__((destructor)) void end_library() noexcept {
    if (!process_ends) destructors.run();
}

} // namespace

int __wrap___cxa_atexit(void (*destroy)(void*), void* object, void*) noexcept {
    return destructors.add(destroy, object) ? 0 : -1;
}
