#include "platform/timed_mutex.h"

#include "platform/windows/wait.h"

namespace tackle::platform {

struct timed_mutex::state {
    HANDLE handle;
};

timed_mutex::timed_mutex() : state_(std::make_unique<state>(state{CreateMutexA(nullptr, FALSE, nullptr)})) {}

timed_mutex::~timed_mutex() {
    if (state_->handle != nullptr) CloseHandle(state_->handle);
}

bool timed_mutex::valid() const noexcept { return state_->handle != nullptr; }

wait_result timed_mutex::enter(std::uint32_t timeout_ms) noexcept { return wait_for(state_->handle, timeout_ms); }

bool timed_mutex::leave() noexcept { return ReleaseMutex(state_->handle) != FALSE; }

} // namespace tackle::platform
