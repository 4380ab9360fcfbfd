#pragma once

#include "foundation/text/text.h"
#include "html/reader.h"

#include <cstdint>
#include <optional>

namespace tackle::html {

// The unit that a named entity stands for, by its exact name: "Aacute" and "aacute" are two. The names are those of
// HTML 4.01 and "apos". "notin" has the unit of "radic", and has to keep it: signatures depend on it.
[[nodiscard]] std::optional<char16_t> find_entity(wstring_view name);

struct entity_value {
    entity_answer answer;
    char16_t unit; // if understood
};

// Reads what stands between "&" and ";": a name, or "#" with a decimal number, or "#x" with a hexadecimal one. Numbers
// of any length count by their low 16 bits. A decimal number ends at the first letter and may have no digits at all, a
// hexadecimal one has to be complete. A number with units above U+00FF in it is unreadable: these may be digits of
// another script.
[[nodiscard]] entity_value read_entity_name(wstring_view name);

} // namespace tackle::html
