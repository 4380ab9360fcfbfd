#pragma once

#include "foundation/sync/event.h"
#include "foundation/sync/mutex.h"
#include "foundation/sync/scope_semantics.h"

#include <cstdint>

namespace tackle {

// A lock for many readers or one writer. A writer that waits keeps new readers out, so it is never starved.
// Not recursive in any direction: a thread that holds it and asks for it again, one of the two being for writing, waits
// for itself for ever. It belongs to no thread: another one than took it may give it back.
class rw final : public scope_semantics {
public:
    void enter_shared() override;
    void enter() override;
    void leave_shared() override;
    void leave() override;

private:
    // Order of taking: gate_, then readers_lock_.
    mutex gate_;            // held by whoever wants in, for as long as that takes
    event no_writer_{true}; // clear while a writer holds the lock, or is next
    mutex readers_lock_;
    event no_readers_{true}; // clear while there are readers; changes only under readers_lock_
    std::uint32_t readers_ = 0;
};

} // namespace tackle
