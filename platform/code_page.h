#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tackle::platform {

// Conversion between bytes in a code page, named by its Windows number, and 16-bit units. Any thread. Code page 0 is
// the system's own on Windows and 1252 elsewhere; 1, 2 and 3 are its console's (437), Macintosh's (10000) and the
// thread's (1252).
enum class conversion {
    ok,
    too_small,         // the result is longer than any text of that many bytes or units can become
    invalid_code_page, // no such code page on this target
    unmappable,        // strict only: the bytes stand for no text. Or the system found no place for the units
    failed,            // anything else: a text of 2 GB and more, bytes that only shift and stand for no unit
};

// Replaces `out` by the units that `bytes` stand for. Bytes without meaning, a cut-off sequence at the end among them,
// give `unmappable` if `strict` is set, else replacement characters. `strict` must be clear for the code pages that
// know no flags on Windows (65001, 65000, 42, 50220 to 50229, 52936, 54936, 57002 to 57011): the system refuses them.
// With anything but `ok`, `out` has no use. Throws std::bad_alloc only.
//
// Under 65001 a lead byte becomes one U+FFFD together with the continuation bytes behind it that it allows; the first
// of them counts in even where it makes the form overlong, a surrogate, or more than U+10FFFF. Any other byte without
// meaning becomes one by itself.
[[nodiscard]] conversion widen(std::uint32_t code_page, std::string_view bytes, bool strict, std::u16string& out);

// Replaces `out` by `units` in the code page. A unit that the code page lacks becomes its default character, "?"
// mostly, or what the system thinks looks alike. A lone surrogate becomes U+FFFD under 65001, the default character
// elsewhere. used_default: null, or told whether the default character was needed. Must be null for the code pages
// named above. With anything but `ok`, `out` has no use. Throws std::bad_alloc only.
[[nodiscard]] conversion narrow(std::uint32_t code_page, std::u16string_view units, std::string& out,
                                bool* used_default);

} // namespace tackle::platform
