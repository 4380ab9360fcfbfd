#pragma once

#include <string>
#include <string_view>

namespace tackle::platform {

// Replaces `out`. Never fails: what is no base64 stands for itself, also the bytes that the standard does not admit.
void decode_utf7(std::string_view bytes, std::u16string& out);

// Replaces `out`. Never fails either: surrogates are written one by one.
void encode_utf7(std::u16string_view units, std::string& out);

} // namespace tackle::platform
