#pragma once

#include <cstdint>
#include <string>

namespace tackle::platform {

// The full file name of the program that this process runs, in the system's own bytes; empty if the system won't tell.
// Longer names come cut to 260 bytes.
[[nodiscard]] std::string process_file_name();

// The number of this process; a child of fork has another one than its parent.
[[nodiscard]] std::uint32_t process_id() noexcept;

// What separates folders in such a name.
[[nodiscard]] char path_separator() noexcept;

} // namespace tackle::platform
