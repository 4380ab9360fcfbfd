#pragma once

#include <exception>
#include <new>

#include "include/brmx.h"
#include "message/errors.h"

namespace brimwarden::engine {

// Runs the body of an export. This is the one place that turns exceptions into numbers; their text ends here, the
// interface has no way to carry it.
template <typename function>
engine_status at_edge(const function& body) noexcept {
    try {
        return body();
    } catch (const tackle::internet::message2::depth_limit&) {
        return message_too_deep;
    } catch (const std::bad_alloc&) {
        return status_out_of_memory;
    } catch (const std::exception&) {
        return status_failed;
    }
}

} // namespace brimwarden::engine
