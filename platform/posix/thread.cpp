#include "platform/thread.h"

#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <memory>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tackle::platform {

namespace {

struct task {
    void (*body)(void*);
    void* argument;
};

// Real time if the process may, else the best share of the ordinary scheduler. The lowest real-time priority runs before
// all ordinary threads; strangers' datagrams can keep such a thread busy, so it never runs before the machine's own.
void raise_own_priority() noexcept {
    sched_param wanted{};
    wanted.sched_priority = sched_get_priority_min(SCHED_FIFO);
    if (pthread_setschedparam(pthread_self(), SCHED_FIFO, &wanted) == 0) return;
    rlimit limit{};
    if (getrlimit(RLIMIT_NICE, &limit) != 0 || limit.rlim_cur <= 20) return;
    const int lowest = limit.rlim_cur >= 40 ? -20 : 20 - static_cast<int>(limit.rlim_cur);
    // The system knows a share for each thread, under the thread's own number.
    setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), lowest);
}

void* run(void* given) {
    const std::unique_ptr<task> work(static_cast<task*>(given));
    raise_own_priority();
    work->body(work->argument);
    return nullptr;
}

// There is no way to leave a library and end in one step here, so a library that had a thread stays for good.
void pin_library() noexcept {
    Dl_info place{};
    if (dladdr(reinterpret_cast<const void*>(&pin_library), &place) == 0) return;
    if (void* self = dlopen(place.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE)) dlclose(self);
}

} // namespace

bool start_urgent_thread(void (*body)(void*), void* argument, thread_handle& out) {
    auto work = std::make_unique<task>(task{body, argument});
    pin_library();
    sigset_t all;
    sigset_t before;
    sigfillset(&all); // the handlers of the program run on its own threads, not on ours
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread{};
    const int error = pthread_create(&thread, nullptr, run, work.get());
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    out = 0;
    if (error == EAGAIN) throw std::bad_alloc(); // what it says for no memory, and for as many threads as there may be
    errno = error;
    if (error != 0) return false;
    static_cast<void>(work.release()); // the thread's own now
    out = static_cast<thread_handle>(thread);
    return true;
}

void join_thread(thread_handle thread) noexcept { pthread_join(static_cast<pthread_t>(thread), nullptr); }

} // namespace tackle::platform
