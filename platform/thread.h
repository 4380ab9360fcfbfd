#pragma once

#include <cstdint>

namespace tackle::platform {

using thread_handle = std::uintptr_t;

// Starts a thread that runs before ordinary ones: at the lowest real-time priority at most, or at a lower one if the
// system is strict.
// This library stays in memory until the thread has ended, whoever unloads it meanwhile. False if the system refuses.
// Throws std::bad_alloc if it lacks the means, memory among them.
[[nodiscard]] bool start_urgent_thread(void (*body)(void*), void* argument, thread_handle& out);

// Waits until the thread has ended, and gives its handle back. Not for a thread that waits for itself.
void join_thread(thread_handle thread) noexcept;

} // namespace tackle::platform
