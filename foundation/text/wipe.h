#pragma once

#include <cstddef>
#include <cstring>
#include <string>

// For what must not stay in memory after its use. Compilers leave out a plain memset of memory that is about to be given
// back; these stay.
namespace tackle {

inline void wipe(void* bytes, std::size_t size) noexcept {
    std::memset(bytes, 0, size);
    __asm__ __volatile__("" : : "r"(bytes) : "memory"); // may have read them, as far as the compiler knows
}

// The text is empty afterwards and keeps its room. What it held before it grew or shrank is not reached: so a secret is
// written once, into room that is large enough.
template <typename unit>
void wipe(std::basic_string<unit>& text) noexcept {
    wipe(text.data(), text.size() * sizeof(unit));
    text.clear();
}

// What calls that have returned left on this thread's stack, below the caller's frame.
[[gnu::noinline]] inline void wipe_stack() noexcept {
    char below[8192];
    wipe(below, sizeof below);
}

} // namespace tackle
