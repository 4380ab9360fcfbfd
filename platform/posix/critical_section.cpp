#include "platform/critical_section.h"

#include <new>
#include <pthread.h>

namespace tackle::platform {
namespace {

pthread_mutex_t* in(std::byte* storage) { return std::launder(reinterpret_cast<pthread_mutex_t*>(storage)); }

} // namespace

critical_section::critical_section() noexcept {
    static_assert(sizeof(pthread_mutex_t) <= sizeof storage_);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (storage_) pthread_mutex_t, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

critical_section::~critical_section() { pthread_mutex_destroy(in(storage_)); }

void critical_section::enter() noexcept { pthread_mutex_lock(in(storage_)); }

void critical_section::leave() noexcept { pthread_mutex_unlock(in(storage_)); }

} // namespace tackle::platform
