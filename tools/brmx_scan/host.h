#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the program needs from the system it runs on and C++ does not offer. All text is UTF-8.
namespace brmx_scan {

int run(const std::vector<std::string>& arguments); // main.cpp: the program, called by the system's own entry point

// The value of an environment variable; nothing if it is not set.
[[nodiscard]] std::optional<std::string> environment_value(const char* name);

enum class stream : std::uint8_t { output, error };

// True if somebody watches the stream.
[[nodiscard]] bool is_terminal(stream which) noexcept;
// True if it is a terminal that obeys escape sequences.
[[nodiscard]] bool takes_escapes(stream which) noexcept;

// Makes standard input and output pass bytes as they are, and a console take UTF-8.
void prepare_streams() noexcept;

} // namespace brmx_scan
