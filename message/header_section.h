#pragma once

#include "message/header_list.h"

namespace tackle::internet::message2 {

// Whether a line is a field of its own, or the first one of a section: no other line that begins with white space is.
[[nodiscard]] inline bool begins_field(char first) noexcept { return first != ' ' && (first < '\t' || first > '\r'); }

// Appends the fields of a header section, given without the empty line that ends it, and makes room for one more.
// White space at the start of a line makes it a continuation of the one before, behind one blank; all other white space
// becomes blanks, one for one. A name runs to the first colon or blank and its value begins behind all of those that
// follow, so that "Subject:x", "Subject : x" and "Subject x" are the same. A line of blanks does not end the section.
//
// `fields` is the number of lines for which begins_field holds: a section of a million short ones must not pay for the
// growth of a list.
void read_header_section(string_view section, std::size_t fields, header_list& headers);

} // namespace tackle::internet::message2
