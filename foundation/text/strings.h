#pragma once

#include "foundation/text/text.h"

#include <concepts>
#include <vector>

// Plain text utilities. They have no state, raise nothing of their own and take time in proportion to their texts.
// "Letters" are the ASCII letters: all other bytes and units stay as they are, under every locale.
namespace tackle {

[[nodiscard]] constexpr char lower_letter(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
[[nodiscard]] constexpr char16_t lower_letter(char16_t c) noexcept {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
}
[[nodiscard]] constexpr char upper_letter(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}
[[nodiscard]] constexpr char16_t upper_letter(char16_t c) noexcept {
    return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
}

[[nodiscard]] string to_lower(string_view s);
[[nodiscard]] wstring to_lower(wstring_view s);
[[nodiscard]] string to_upper(string_view s);
[[nodiscard]] wstring to_upper(wstring_view s);
void to_lower_in_place(string& s) noexcept;
void to_lower_in_place(wstring& s) noexcept;
void to_upper_in_place(string& s) noexcept;
void to_upper_in_place(wstring& s) noexcept;

// Equality and order of the lower-cased texts; the order is that of unsigned bytes.
[[nodiscard]] bool iequals(string_view a, string_view b) noexcept;
[[nodiscard]] bool iequals(wstring_view a, wstring_view b) noexcept;
[[nodiscard]] bool iless(string_view a, string_view b) noexcept;

// Exact comparison; false if the other text is longer.
[[nodiscard]] inline bool starts_with(string_view s, string_view prefix) noexcept { return s.starts_with(prefix); }
[[nodiscard]] inline bool starts_with(wstring_view s, wstring_view prefix) noexcept { return s.starts_with(prefix); }
[[nodiscard]] inline bool ends_with(string_view s, string_view suffix) noexcept { return s.ends_with(suffix); }
[[nodiscard]] inline bool ends_with(wstring_view s, wstring_view suffix) noexcept { return s.ends_with(suffix); }

// Whether x occurs in s as a substring; the empty text occurs in every one. Linear also for a long x that almost fits
// everywhere, at the price of one allocation then.
[[nodiscard]] bool contains(string_view s, string_view x);
[[nodiscard]] bool contains(wstring_view s, wstring_view x);

// Replaces from the front and goes on behind each replacement, so that `to` may contain `from`. An empty `from` leaves
// the text alone. `from` and `to` may be views of `s`.
[[nodiscard]] string replace_all(string_view s, string_view from, string_view to);
[[nodiscard]] wstring replace_all(wstring_view s, wstring_view from, wstring_view to);
void replace_all_in_place(string& s, string_view from, string_view to);
void replace_all_in_place(wstring& s, wstring_view from, wstring_view to);

// A copy with only those characters that occur in `set`.
[[nodiscard]] string keep_only(string_view s, string_view set);
[[nodiscard]] wstring keep_only(wstring_view s, wstring_view set);

// The pieces between single delimiter characters, as views of `s`: they live as long as its text does. Splitting a
// temporary string therefore does not compile.
// split keeps empty pieces, so that an empty s gives one empty piece; split_tokens drops them.
[[nodiscard]] std::vector<string_view> split(string_view s, string_view delimiters);
[[nodiscard]] std::vector<wstring_view> split(wstring_view s, wstring_view delimiters);
[[nodiscard]] std::vector<string_view> split_tokens(string_view s, string_view delimiters);
[[nodiscard]] std::vector<wstring_view> split_tokens(wstring_view s, wstring_view delimiters);
// As split_tokens, and a stretch between two " is one piece, without them, whatever stands in it. A quote also ends the
// piece before it: a"b c"d gives a, b c and d. A quote that is never closed runs to the end.
[[nodiscard]] std::vector<string_view> split_quoted(string_view s, string_view delimiters);

template <std::same_as<string> text>
std::vector<string_view> split(text&& s, string_view delimiters) = delete;
template <std::same_as<wstring> text>
std::vector<wstring_view> split(text&& s, wstring_view delimiters) = delete;
template <std::same_as<string> text>
std::vector<string_view> split_tokens(text&& s, string_view delimiters) = delete;
template <std::same_as<wstring> text>
std::vector<wstring_view> split_tokens(text&& s, wstring_view delimiters) = delete;
template <std::same_as<string> text>
std::vector<string_view> split_quoted(text&& s, string_view delimiters) = delete;

// Whether every character is a digit, so true for empty text. A byte is a digit from 0 to 9 only; a unit by the
// platform's classes, which know the digits of other scripts too.
[[nodiscard]] bool is_digits(string_view s) noexcept;
[[nodiscard]] bool is_digits(wstring_view s);

// Whether at least one unit is printable and no white space, by the platform's classes.
[[nodiscard]] bool has_visible(wstring_view s);

} // namespace tackle
