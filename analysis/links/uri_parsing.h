#pragma once

#include "foundation/text/text.h"

#include <optional>

// The steps from something that looks like a web address to the value of its signature.
namespace brimwarden::analysis {

// Where the first "http:", "https:" or "www." at or behind `from` begins; npos without one.
[[nodiscard]] std::size_t find_uri_start(tackle::wstring_view text, std::size_t from);

// strip_uri_prefix and decode_uri_escapes return a view of their text where they leave it as it is, or a part of it,
// and use `scratch`, which must not hold the text, for anything else. The result is good as long as both are left
// alone.

// What stands behind scheme, slashes and user information, without the port. Empty for a mail address, that is an "@"
// in the first stretch and no scheme.
[[nodiscard]] tackle::wstring_view strip_uri_prefix(tackle::wstring_view candidate, tackle::wstring& scratch);

// Resolves "%41", "%u0041" and "%%" once, and folds A to Z. Everything goes through UTF-8: escapes may give the bytes
// of one character, and what is none becomes a replacement character. Escapes that are broken stay.
[[nodiscard]] tackle::wstring_view decode_uri_escapes(tackle::wstring_view text, tackle::wstring& scratch);

// What "%41" and "%u0041" stand for; none if a digit is none. The second takes four digits.
[[nodiscard]] std::optional<unsigned char> decode_byte(char high, char low);
[[nodiscard]] std::optional<char16_t> decode_unit(tackle::string_view digits);

// Host and path without query and fragment, cleaned of what can't be part of them. A strange unit in the host ends
// everything if `strict_host`, else it is left out.
[[nodiscard]] tackle::wstring extract_host_and_path(tackle::wstring_view text, bool strict_host);

// Appends the value for a host and path as extract_host_and_path gives them: labels from the last to the first, or a
// dotted quad as it stands, then path segments, five in all. False, and `value` may have been appended to, if the host
// has less than two labels or none of the known top-level domains.
[[nodiscard]] bool reverse_domain(tackle::wstring_view host_and_path, tackle::wstring& value);

} // namespace brimwarden::analysis
