#pragma once

#include <string>
#include <string_view>

namespace tackle::platform {

// Replaces `out`. Each maximal prefix of a well-formed sequence, and each byte that begins none, becomes one U+FFFD.
void decode_utf8(std::string_view bytes, std::u16string& out);

// Replaces `out`. A lone surrogate becomes U+FFFD.
void encode_utf8(std::u16string_view units, std::string& out);

} // namespace tackle::platform
