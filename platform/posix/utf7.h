#pragma once

#include <string>
#include <string_view>

namespace tackle::platform {

// Replaces `out`. Never fails: what is no base64 stands for itself, also the bytes that the standard does not admit.
void decode_utf7(std::string_view bytes, std::u16string& out);

} // namespace tackle::platform
