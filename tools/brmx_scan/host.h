#pragma once

#include <string>
#include <string_view>
#include <vector>

// What the program needs from the system it runs on and C++ does not offer. All text is UTF-8.
namespace brmx_scan {

int run(const std::vector<std::string>& arguments); // main.cpp: the program behind the system's own entry point

// True if somebody watches standard error.
[[nodiscard]] bool standard_error_is_terminal() noexcept;

// Makes standard input and output pass bytes as they are, and a console take UTF-8.
void prepare_streams() noexcept;

} // namespace brmx_scan
