#pragma once

#include "foundation/text.h"
#include "platform/socket.h"

#include <span>

// From the meaning of a failed socket call to the exception of that meaning.
namespace tackle::internet::transport {

template <typename cause_class>
[[noreturn]] void throw_as(const string& text) {
    throw cause_class(text);
}

// What one cause raises in one call. `named` is the call that the text names; null for the call itself.
struct failure_row {
    platform::socket_cause cause;
    void (*raise)(const string& text);
    const char* named = nullptr;
};

// Throws what the first fitting row says; then the causes that all calls share, then generic with the number.
[[noreturn]] void raise(const char* call, platform::socket_status status, std::span<const failure_row> rows);

// Does nothing if all went well.
inline void check(const char* call, platform::socket_status status, std::span<const failure_row> rows = {}) {
    if (status.failed()) raise(call, status, rows);
}

} // namespace tackle::internet::transport
