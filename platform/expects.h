#pragma once

#include <cstdio>
#include <cstdlib>

namespace tackle {

// States what a caller has to keep. Builds for development (BRMX_CHECKED: debug, the sanitizers, fuzzing) end the process
// at the first call that does not; in the shipped library the optimiser removes the condition, so it must have no side
// effect and be cheap. For mistakes of our own code only: what a message or a server can bring about is never an
// expectation.
#ifdef BRMX_CHECKED
inline void expects(bool condition, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (condition) return;
    std::fprintf(stderr, "%s:%d: a precondition does not hold\n", file, line);
    std::abort();
}
#else
constexpr void expects(bool) {}
#endif

} // namespace tackle
