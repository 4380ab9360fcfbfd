#include "platform/timed_mutex.h"

#include "platform/posix/deadline.h"

#include <cerrno>
#include <pthread.h>

namespace tackle::platform {
namespace {

int take(pthread_mutex_t* mutex, std::uint32_t timeout_ms) noexcept {
    if (timeout_ms == infinite) return pthread_mutex_lock(mutex);
    const int error = pthread_mutex_trylock(mutex);
    if (timeout_ms == 0 || error != EBUSY) return error;
#ifdef __SANITIZE_THREAD__ // which does not know the other call, and would take the mutex for free
    const timespec until = deadline(CLOCK_REALTIME, timeout_ms);
    return pthread_mutex_timedlock(mutex, &until);
#else
    const timespec until = deadline(CLOCK_MONOTONIC, timeout_ms);
    return pthread_mutex_clocklock(mutex, CLOCK_MONOTONIC, &until);
#endif
}

} // namespace

struct timed_mutex::state {
    pthread_mutex_t mutex;
    int error; // of the initialisation
};

timed_mutex::timed_mutex() : state_(std::make_unique<state>()) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    state_->error = pthread_mutex_init(&state_->mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    errno = state_->error;
}

timed_mutex::~timed_mutex() {
    if (valid()) pthread_mutex_destroy(&state_->mutex);
}

bool timed_mutex::valid() const noexcept { return state_->error == 0; }

wait_result timed_mutex::enter(std::uint32_t timeout_ms) noexcept {
    switch (const int error = take(&state_->mutex, timeout_ms)) {
    case 0:
        return wait_result::signalled;
    case EOWNERDEAD: // what it guarded is for the new owner to judge, as it would be on the other target
        pthread_mutex_consistent(&state_->mutex);
        return wait_result::signalled;
    case EBUSY:
    case ETIMEDOUT:
        return wait_result::timed_out;
    default:
        errno = error;
        return wait_result::failed;
    }
}

bool timed_mutex::leave() noexcept {
    const int error = pthread_mutex_unlock(&state_->mutex);
    if (error != 0) errno = error;
    return error == 0;
}

} // namespace tackle::platform
