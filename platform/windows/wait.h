#pragma once

#include "platform/wait.h"

#include <windows.h>

namespace tackle::platform {

// An abandoned mutex is the caller's like a free one, so everything below WAIT_FAILED but the time-out is a success.
inline wait_result wait_for(HANDLE object, DWORD timeout_ms) noexcept {
    static_assert(infinite == INFINITE);
    switch (WaitForSingleObject(object, timeout_ms)) {
    case WAIT_TIMEOUT:
        return wait_result::timed_out;
    case WAIT_FAILED:
        return wait_result::failed;
    default:
        return wait_result::signalled;
    }
}

} // namespace tackle::platform
