#include "platform/event.h"

#include "platform/windows/wait.h"

namespace tackle::platform {

struct event::state {
    HANDLE handle; // null if the system refused: the first operation on it fails and tells
};

event::event(bool signalled)
    : state_(std::make_unique<state>(state{CreateEventA(nullptr, TRUE, signalled ? TRUE : FALSE, nullptr)})) {}

event::~event() {
    if (state_->handle != nullptr) CloseHandle(state_->handle);
}

bool event::set() noexcept { return SetEvent(state_->handle) != FALSE; }

bool event::reset() noexcept { return ResetEvent(state_->handle) != FALSE; }

wait_result event::wait(std::uint32_t timeout_ms) noexcept { return wait_for(state_->handle, timeout_ms); }

} // namespace tackle::platform
