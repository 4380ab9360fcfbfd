#pragma once

#include "findings/test_result.h"

#include <ostream>
#include <string>
#include <vector>

// Findings in a form that a table of cases can hold and a failing test can print.
namespace findings {

inline std::string narrow(tackle::wstring_view text) {
    std::string result;
    for (const char16_t unit : text)
        result += unit < 0x80 ? static_cast<char>(unit) : '?';
    return result;
}

// "Name 20", and " whitelist" or " blacklist" behind it.
inline std::vector<std::string> list(const brimwarden::analysis::test_result_list& results) {
    std::vector<std::string> lines;
    for (const auto& result : results) {
        lines.push_back(narrow(result.name) + ' ' + std::to_string(static_cast<int>(result.value)) +
                        (result.whitelist ? " whitelist" : "") + (result.blacklist ? " blacklist" : ""));
    }
    return lines;
}

} // namespace findings
