#pragma once

#include "foundation/strings.h"
#include "message/text_pairs.h"

namespace tackle::internet::message2 {

// One header of a part: views into the list that holds it. Nothing is decoded; the value types of header_type/ give
// meaning to a value when somebody asks.
struct header_field {
    string_view name;  // as it stood, case kept
    string_view value; // unfolded: each white space byte is a blank, each fold is a single one
};

// Case ignored. Most names differ in length already, and every lookup asks all fields.
[[nodiscard]] inline bool is_named(const header_field& field, string_view name) noexcept {
    return field.name.size() == name.size() && iequals(field.name, name);
}

// The headers of a part in the order of the message. Duplicates stay; a lookup answers the first.
using header_list = text_pairs<header_field, char, char>;

} // namespace tackle::internet::message2
