#pragma once

#include "findings/test_result.h"

#include <string>

// Findings in a form that a table of cases can hold and a failing test can print.
namespace findings {

inline std::string narrow(tackle::wstring_view text) {
    std::string result;
    for (const char16_t unit : text)
        result += unit < 0x80 ? static_cast<char>(unit) : '?';
    return result;
}

// "Name 20, Name 0 whitelist".
inline std::string joined(const brimwarden::analysis::test_result_list& results) {
    std::string all;
    for (const auto& result : results)
        all += (all.empty() ? "" : ", ") + narrow(result.name) + ' ' + std::to_string(static_cast<int>(result.value)) +
               (result.whitelist ? " whitelist" : "") + (result.blacklist ? " blacklist" : "");
    return all;
}

} // namespace findings
