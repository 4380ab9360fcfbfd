#pragma once

#include "include/brmx.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The library's exports in the shape this program wants them: owners for handles, values for buffers.
namespace brmx_scan {

struct language_share {
    std::uint32_t lcid = 0;
    std::uint32_t relevance = 0; // letters that speak for the language
};

// Who asks the community.
struct credentials {
    std::uint32_t mode = 0;
    std::uint32_t id = 0;
    std::u16string secret;
};

enum class action : std::uint8_t { scan, report, revoke };

// What to do with a message, and what to ask about it.
struct questions {
    action what = action::scan;
    // Appends one line of the explanation to the text that is shown, as soon as it is read: the lines of a message of many
    // parts are many times its size. Nothing if the explanation is not wanted.
    std::function<void(std::string& out, std::uint32_t indent, std::u16string_view text)> trace;
    bool languages = false;
    bool statistics = false;
    // For the community's answer. Not 0 unless the user says so: a question would then be asked just once.
    std::uint32_t timeout_ms = 10000;
    std::optional<credentials> identity;
};

struct community_statistics {
    std::uint32_t bytes_sent = 0;
    std::uint32_t bytes_received = 0;
    std::uint32_t datagrams_sent = 0;
    std::uint32_t datagrams_received = 0;
    std::uint32_t connections_made = 0;
    std::uint32_t connections_failed = 0;
    std::uint32_t latency_ms = 0;
};

// What one message gave. A scan without a probability failed, and `status` says how.
struct scan_result {
    engine_status status = status_ok;
    std::optional<int> probability;
    std::string trace; // of the scan, then that of the languages, as questions::trace wrote them
    std::vector<language_share> languages;
    community_statistics statistics;
};

struct community_health {
    engine_status status = status_ok;
    std::uint32_t reachable = 0;
    std::uint32_t unreachable = 0;
    std::uint32_t latency_ms = 0;
};

// Keeps the engine initialised while it lives; one a process. Throws std::runtime_error if the engine refuses.
class engine {
public:
    engine();
    ~engine();
    engine(const engine&) = delete;
    engine& operator=(const engine&) = delete;

    // Any thread, any number at a time; only reads what it is given. Waits for the community if there is one.
    [[nodiscard]] scan_result work_on(const std::string& message, const questions& asked) const;

    // Waits until the host name has been looked up.
    [[nodiscard]] engine_status join_community(const std::u16string& group, std::uint32_t rediscovery_seconds) const;
    // Waits until the servers have been probed.
    [[nodiscard]] community_health health() const;
};

// The engine's state text: taken from an earlier run, and given for the next one. Need a running engine.
[[nodiscard]] engine_status set_state(const std::u16string& text);
[[nodiscard]] std::u16string last_state();

// UTF-8 as UTF-16; nothing for what is no UTF-8.
[[nodiscard]] std::optional<std::u16string> to_units(const std::string& text);

// The name of a status in the interface, "unknown_status" for one it does not list.
[[nodiscard]] const char* status_name(engine_status status) noexcept;

// The BCP 47 tag of a language that the library can report, "und" for any other number.
[[nodiscard]] const char* language_tag(std::uint32_t lcid) noexcept;

// "3.7.0.3 (TRUNK X64 ...)". Works without an engine.
[[nodiscard]] std::string version_text();

} // namespace brmx_scan
