#include "platform/event.h"

#include "platform/posix/deadline.h"

#include <cerrno>
#include <pthread.h>

namespace tackle::platform {

struct event::state {
    pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t changed;
    bool signalled = false;
};

event::event(bool signalled) : state_(std::make_unique<state>()) {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&state_->changed, &attributes);
    pthread_condattr_destroy(&attributes);
    state_->signalled = signalled;
}

event::~event() {
    pthread_cond_destroy(&state_->changed);
    pthread_mutex_destroy(&state_->guard);
}

bool event::set() noexcept {
    pthread_mutex_lock(&state_->guard);
    state_->signalled = true;
    // Under the lock: the waiter gets out only behind our unlock, and may then destroy what we would still signal.
    pthread_cond_broadcast(&state_->changed);
    pthread_mutex_unlock(&state_->guard);
    return true;
}

bool event::reset() noexcept {
    pthread_mutex_lock(&state_->guard);
    state_->signalled = false;
    pthread_mutex_unlock(&state_->guard);
    return true;
}

wait_result event::wait(std::uint32_t timeout_ms) noexcept {
    timespec until{};
    if (timeout_ms != 0 && timeout_ms != infinite) until = deadline(CLOCK_MONOTONIC, timeout_ms);
    pthread_mutex_lock(&state_->guard);
    int error = timeout_ms == 0 ? ETIMEDOUT : 0;
    while (!state_->signalled && error == 0) {
        error = timeout_ms == infinite ? pthread_cond_wait(&state_->changed, &state_->guard)
                                       : pthread_cond_timedwait(&state_->changed, &state_->guard, &until);
    }
    const bool signalled = state_->signalled;
    pthread_mutex_unlock(&state_->guard);
    if (signalled) return wait_result::signalled;
    if (error == ETIMEDOUT) return wait_result::timed_out;
    errno = error;
    return wait_result::failed;
}

} // namespace tackle::platform
