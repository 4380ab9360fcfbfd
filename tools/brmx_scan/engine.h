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

struct language_share {
    std::uint32_t lcid = 0;
    std::uint32_t relevance = 0; // letters that speak for the language
};

// What to ask about a message besides its probability.
struct questions {
    bool trace = false;
    bool languages = false;
};

// What one scan gave. Without a probability the scan failed, and `status` says how.
struct scan_result {
    engine_status status = status_ok;
    std::optional<int> probability;
    std::vector<trace_line> trace; // of the scan, and behind it that of the languages
    std::vector<language_share> languages;
};

// Keeps the engine initialised while it lives; one a process. Throws std::runtime_error if the engine refuses.
class engine {
public:
    engine();
    ~engine();
    engine(const engine&) = delete;
    engine& operator=(const engine&) = delete;

    // Any thread, any number at a time; only reads what it is given.
    [[nodiscard]] scan_result scan(const std::string& message, questions asked) const;
};

// The name of a status in the interface, "unknown_status" for one it does not list.
[[nodiscard]] const char* status_name(engine_status status) noexcept;

// The BCP 47 tag of a language that the library can report, "und" for any other number.
[[nodiscard]] const char* language_tag(std::uint32_t lcid) noexcept;

// "3.7.0.3 (TRUNK X64 ...)". Works without an engine.
[[nodiscard]] std::string version_text();

} // namespace brmx_scan
