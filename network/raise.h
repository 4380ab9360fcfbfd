#pragma once

#include "foundation/text/text.h"
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

// Throws what the first fitting row says, and returns if none fits.
void raise_listed(const char* call, platform::socket_status status, std::span<const failure_row> rows);
// Throws the causes that all calls share, or generic with the number.
[[noreturn]] void raise_other(const char* call, platform::socket_status status);

// Does nothing if all went well. Throws by the first table that has the cause.
template <typename... tables>
void check(const char* call, platform::socket_status status, const tables&... rows) {
    if (!status.failed()) return;
    (raise_listed(call, status, rows), ...);
    raise_other(call, status);
}

} // namespace tackle::internet::transport
