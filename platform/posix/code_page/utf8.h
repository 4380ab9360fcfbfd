#pragma once

#include <string>
#include <string_view>

namespace tackle::platform {

// Replaces `out`. What stands for nothing becomes U+FFFD by the rule in code_page.h.
void decode_utf8(std::string_view bytes, std::u16string& out);

// Replaces `out`. A lone surrogate becomes U+FFFD.
void encode_utf8(std::u16string_view units, std::string& out);

} // namespace tackle::platform
