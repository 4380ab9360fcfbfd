// What the filter writes into a message and what it takes away.
#pragma once

#include "brmx.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brmx_milter {

inline constexpr std::string_view probability_field = "X-Brimwarden-Probability";
inline constexpr std::string_view trace_field = "X-Brimwarden-Trace";

// A trace quotes what a spammer wrote, who decides how long that is, too.
inline constexpr std::size_t longest_line = 200;   // a line of a message ends at 998
inline constexpr std::size_t longest_value = 8000; // of a field
// A deletion costs the mail server a walk through the message: of a million copies not all can be taken away.
inline constexpr int most_deletions = 64;

// Whether a field has one of our names, however it is written: 1 for the probability, 2 for the trace, 0 for neither.
[[nodiscard]] inline int ours(std::string_view name) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    const auto is = [&](std::string_view field) {
        return std::equal(name.begin(), name.end(), field.begin(), field.end(),
                          [&](char a, char b) { return lower(a) == lower(b); });
    };
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t'))
        name.remove_suffix(1); // an old way to write a field
    return is(probability_field) ? 1 : is(trace_field) ? 2 : 0;
}

// Printable ASCII as it is, everything else as \uXXXX or \UXXXXXXXX, and a backslash doubled: what comes out can
// neither end a line nor begin a field.
[[nodiscard]] inline std::string escaped(std::string_view text, std::size_t longest) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string out;
    while (!text.empty() && out.size() < longest) {
        const std::uint32_t character = brmx::detail::take_character(text);
        if (character == '\\') {
            out += "\\\\";
        } else if (character >= 0x20 && character < 0x7F) {
            out += static_cast<char>(character);
        } else {
            out += character < 0x10000 ? "\\u" : "\\U";
            for (int shift = character < 0x10000 ? 12 : 28; shift >= 0; shift -= 4)
                out += digits[character >> shift & 0xF];
        }
    }
    if (!text.empty()) out += "...";
    return out;
}

// The value of the trace's field: each line of the trace is one of the field. No line is blank, since a blank line
// would end the header to a reader who does not know folding well.
[[nodiscard]] inline std::string folded(const std::vector<brmx::trace_line>& trace) {
    std::string value;
    for (const auto& line : trace) {
        const std::string text = escaped(line.text, longest_line);
        if (text.find_first_not_of(' ') == std::string::npos) continue;
        if (value.size() + text.size() > longest_value) return value + "\n\t...";
        if (!value.empty()) value += "\n\t" + std::string(2 * std::min<std::size_t>(line.indent, 16), ' ');
        value += text;
    }
    return value;
}

} // namespace brmx_milter
