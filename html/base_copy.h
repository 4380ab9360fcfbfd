#pragma once

#include "foundation/text/text.h"

#include <cstddef>

namespace tackle::html {

// What may be written instead of a base URL after the "<" of a link, so that the next conversion leaves the same.
struct base_stand_in {
    wstring head;      // instead of what the tag takes of the base
    std::size_t stays; // so many units at the end of the base are no part of the tag and stay as text
};

// A link in an attribute value is written as "<", the base, the URL and "> ", and the next conversion reads that as a
// tag. Of the base it leaves what follows the first ">" of the tag; without one all goes, and only the state counts in
// which the reader comes to the URL. True as long as the "<" is read as the start of a tag.
[[nodiscard]] base_stand_in stand_in_for(wstring_view base);

} // namespace tackle::html
