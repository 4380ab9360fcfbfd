#pragma once

#include "foundation/text/strings.h"
#include "message/text_pairs.h"

namespace tackle::internet::message2 {

// One header of a part: views into the list that holds it. Nothing is decoded; the value types of header_type/ give
// meaning to a value when somebody asks.
struct header_field {
    string_view name;  // as it stood, case kept
    string_view value; // unfolded: each white space byte is a blank, each fold is a single one
};

// Case ignored.
[[nodiscard]] inline bool is_named(const header_field& field, string_view name) noexcept {
    return field.name.size() == name.size() && iequals(field.name, name);
}

// The headers of a part in the order of the message. Duplicates stay; a lookup answers the first.
using header_list = text_pairs<header_field, char, char>;

// The index of the first field of that name, case ignored; the size of the list if there is none. Most names differ in
// length already.
[[nodiscard]] inline std::size_t find_named(const header_list& headers, string_view name) noexcept {
    std::size_t index = headers.find_length(name.size(), 0);
    while (index < headers.size() && !iequals(headers[index].name, name))
        index = headers.find_length(name.size(), index + 1);
    return index;
}

} // namespace tackle::internet::message2
