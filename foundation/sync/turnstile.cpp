#include "foundation/sync/turnstile.h"

#include "foundation/sync/scope.h"

namespace tackle {

void turnstile::enter() {
    const scope counting(&mutex_);
    ++inside_;
    busy_.set();
    idle_.reset();
}

void turnstile::leave() {
    scope counting(&mutex_);
    if (--inside_ != 0) return;
    counting.leave();
    // Set after the lock is gone: whoever wakes in close() may destroy this object, and must not find us inside its
    // mutex.
    idle_.set();
}

bool turnstile::close(std::uint32_t timeout_ms) {
    scope announcing(&mutex_);
    closing_.set();
    announcing.leave();
    return idle_.wait(timeout_ms);
}

bool turnstile::closing() { return closing_.wait(0); }

} // namespace tackle
