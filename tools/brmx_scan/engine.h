#pragma once

#include "engine/brmx.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The library's exports in the shape this program wants them: owners for handles, values for buffers.
namespace brmx_scan {

struct trace_line {
    std::uint32_t indent = 0;
    std::u16string text;
};

// What one scan gave. Without a probability the scan failed, and `status` says how.
struct scan_result {
    engine_status status = status_ok;
    std::optional<int> probability;
    std::vector<trace_line> trace;
};

// Keeps the engine initialised while it lives; one a process. Throws std::runtime_error if the engine refuses.
class engine {
public:
    engine();
    ~engine();
    engine(const engine&) = delete;
    engine& operator=(const engine&) = delete;

    // Any thread, any number at a time; only reads what it is given.
    [[nodiscard]] scan_result scan(const std::string& message, bool with_trace) const;
};

// The name of a status in the interface, "unknown_status" for one it does not list.
[[nodiscard]] const char* status_name(engine_status status) noexcept;

// "3.7.0.3 (TRUNK X64 ...)". Works without an engine.
[[nodiscard]] std::string version_text();

} // namespace brmx_scan
