#include "foundation/sync/event.h"

#include "foundation/exception.h"
#include "platform/error.h"

namespace tackle {

void event::set() {
    if (!event_.set()) throw exception("SetEvent returned 0x%08x", platform::last_error());
}

void event::reset() {
    if (!event_.reset()) throw exception("ResetEvent returned 0x%08x", platform::last_error());
}

bool event::wait(std::uint32_t timeout_ms) {
    const auto result = event_.wait(timeout_ms);
    if (result == platform::wait_result::failed) {
        throw exception("WaitForSingleObject returned 0x%08x", platform::last_error());
    }
    return result == platform::wait_result::signalled;
}

} // namespace tackle
