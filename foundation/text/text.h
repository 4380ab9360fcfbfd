#pragma once

#include <string>
#include <string_view>

// The two kinds of text. They are the same on every target, whatever its own wide character is.
namespace tackle {

using string = std::string;     // 8-bit: the raw bytes of a message, header values as they stand
using wstring = std::u16string; // 16-bit units: decoded values and texts; lone surrogates may occur
using string_view = std::string_view;
using wstring_view = std::u16string_view;

} // namespace tackle
