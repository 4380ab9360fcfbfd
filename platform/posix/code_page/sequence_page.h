#pragma once

#include "platform/code_page.h"
#include "platform/posix/code_page/converters.h"

namespace tackle::platform {

// The conversions of code_page.h for a page that is more than tables: by ICU's converter, one kept by each thread.
[[nodiscard]] conversion widen_sequence(const converter_row& row, std::string_view bytes, bool strict,
                                        std::u16string& out);
[[nodiscard]] conversion narrow_sequence(const converter_row& row, std::u16string_view units, std::string& out,
                                         bool* used_default);

} // namespace tackle::platform
