#pragma once

#include "foundation/sync/scope_semantics.h"
#include "platform/timed_mutex.h"

#include <cstdint>

namespace tackle {

// The lock for a wait with a time limit. Recursive for the thread that holds it; one whose thread has ended is free.
// Failures of the system are thrown as tackle::exception.
class real_mutex final : public scope_semantics {
public:
    real_mutex();

    void enter() override;
    // Milliseconds; 0 tries only. False if the time is over: the lock is then not held.
    bool enter(std::uint32_t timeout_ms);
    // Throws if the calling thread does not hold it.
    void leave() override;

private:
    platform::timed_mutex mutex_;
};

} // namespace tackle
