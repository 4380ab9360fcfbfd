#pragma once

#include <cstdint>
#include <string>

namespace tackle::platform {

// Replaces `name` by the English name of the language of a locale, without its region. False if the system has no such
// call or does not know the LCID: `name` is then no use. Any thread. Throws std::bad_alloc only.
[[nodiscard]] bool english_language_name(std::uint32_t lcid, std::u16string& name);

} // namespace tackle::platform
