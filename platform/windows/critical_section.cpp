#include "platform/critical_section.h"

#include <new>
#include <windows.h>

namespace tackle::platform {
namespace {

CRITICAL_SECTION* in(std::byte* storage) { return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage)); }

} // namespace

critical_section::critical_section() noexcept {
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof storage_);
    InitializeCriticalSection(new (storage_) CRITICAL_SECTION);
}

critical_section::~critical_section() { DeleteCriticalSection(in(storage_)); }

void critical_section::enter() noexcept { EnterCriticalSection(in(storage_)); }

void critical_section::leave() noexcept { LeaveCriticalSection(in(storage_)); }

} // namespace tackle::platform
