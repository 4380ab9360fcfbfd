#pragma once

#include "foundation/text/text.h"
#include "html/convert_to_text.h"
#include "message/part.h"

namespace brimwarden::analysis {

// Displayed parts of more bytes than this are not looked into: no text of theirs is worth the time.
inline constexpr std::size_t largest_displayed_part = 262144;

// The body of the part that a reader is shown, as text, before any HTML is resolved.
struct displayed_text {
    tackle::wstring text;
    bool charset_inherited = false; // the part names no charset, and the root's was taken
    // Why the text could not be converted, as an exception tells it; empty if it could. Each byte then stands for
    // itself.
    tackle::string conversion_error;
};

// Reads the body of `shown`, which lies below `root` or is it, with the charset that its Content-Type names, or else
// with that of the root. Raises nothing but std::bad_alloc.
[[nodiscard]] displayed_text read_displayed_text(const tackle::internet::message2::part& shown,
                                                 const tackle::internet::message2::part& root);

// Replaces the text of a part of the type text/html by what a reader sees of it, and returns the links in it; leaves
// that of any other part alone. HTML without a body is taken as a fragment and shown whole.
tackle::html::text_set resolve_markup(const tackle::internet::message2::part& shown, tackle::wstring& text);

} // namespace brimwarden::analysis
