#include "foundation/sync/real_mutex.h"

#include "foundation/exception.h"
#include "platform/error.h"

namespace tackle {

real_mutex::real_mutex() {
    // The word "OpenMutex" is part of the text that clients know, whatever the call is named.
    if (!mutex_.valid()) throw exception("OpenMutex returned 0x%08x", platform::last_error());
}

void real_mutex::enter() { enter(platform::infinite); }

bool real_mutex::enter(std::uint32_t timeout_ms) {
    const auto result = mutex_.enter(timeout_ms);
    if (result == platform::wait_result::failed) {
        throw exception("WaitForSingleObject returned 0x%08x", platform::last_error());
    }
    return result == platform::wait_result::signalled;
}

void real_mutex::leave() {
    if (!mutex_.leave()) throw exception("ReleaseMutex returned 0x%08x", platform::last_error());
}

} // namespace tackle
