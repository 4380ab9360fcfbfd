#pragma once

#include "tools/brmx_scan/engine.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brmx_scan {

// The message as it is shown: its name, and either a result or the reason why it could not be read.
struct report {
    std::string file;
    scan_result result;
    std::string error; // empty unless the message could not be read
    std::uint64_t bytes = 0;
};

// How a probability is shown. The library draws no line between spam and ham, so without a limit of the user's the
// colours only lead the eye: from 50 and from 90.
struct look {
    bool color = false;
    std::optional<int> limit; // what is above it is red, and the rest green
};
// Before and after the number; both empty without colours.
[[nodiscard]] const char* color_of(int probability, const look& chosen) noexcept;
[[nodiscard]] const char* color_end(const look& chosen) noexcept;

// UTF-8 for people: lone surrogates become U+FFFD, and control characters blanks, as a trace quotes what a spammer
// wrote and a terminal obeys it.
[[nodiscard]] std::string printable(std::u16string_view text);

// A file's name, or a text that holds one, for people: "?" for each control character, as strangers name files, too.
// What is no UTF-8 stays as it is.
[[nodiscard]] std::string printable_name(std::string_view text);

// UTF-8 as it is, but for lone surrogates, which become U+FFFD.
[[nodiscard]] std::string to_utf8(std::u16string_view text);

// Complete lines, the last one's end included. Both take the trace out of the report.
[[nodiscard]] std::string plain_report(report& shown, const questions& asked, const look& chosen);
[[nodiscard]] std::string json_report(report& shown, const questions& asked);
// What questions::trace has to be for each of them.
void append_plain_line(std::string& out, std::uint32_t indent, std::u16string_view text, bool color);
void append_json_line(std::string& out, std::uint32_t indent, std::u16string_view text);
[[nodiscard]] std::string plain_health(const community_health& health);
[[nodiscard]] std::string json_health(const community_health& health);

} // namespace brmx_scan
