#include "platform/locale_name.h"

namespace tackle::platform {

// There are no LCIDs here.
bool english_language_name(std::uint32_t, std::u16string&) { return false; }

} // namespace tackle::platform
