#pragma once

#include "foundation/sync/event.h"
#include "foundation/sync/mutex.h"
#include "foundation/sync/scope_semantics.h"

#include <cstdint>

namespace tackle {

// Counts the threads that are inside, for another thread that wants to see them all out. Closing keeps nobody from
// entering: who has entered asks closing() and turns back by itself.
class turnstile final : public scope_semantics {
public:
    void enter() override;
    void leave() override;

    // Announces the closing, for good, and waits up to so many milliseconds until nobody is inside. True if so, false
    // if the time is over. close(0) announces only; a later close(infinite) joins.
    bool close(std::uint32_t timeout_ms);
    [[nodiscard]] bool closing();

private:
    mutex mutex_;
    event busy_{false}; // set by the first thread that enters, and never reset
    event idle_{true};
    event closing_{false};
    std::uint64_t inside_ = 0;
};

} // namespace tackle
