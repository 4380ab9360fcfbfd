#pragma once

#include <string>
#include <string_view>

namespace tackle::platform {

enum class file_result {
    ok,
    open_failed,     // not there, not allowed, a directory
    transfer_failed, // opened, but the bytes did not all come or go
};

// Paths are 16-bit on both targets. A path with a NUL in it names no file. Where the system has bytes it gets UTF-8, and
// a path with a lone surrogate names no file either; on Windows it can be the name of one.

// Replaces `out` by the whole file. Files of 4 GB and more are refused with transfer_failed. Others may read the file
// at the same time. With anything but `ok`, `out` has no use. Throws std::bad_alloc only.
[[nodiscard]] file_result read_whole_file(std::u16string_view path, std::string& out);

// Makes the file, or empties the one that is there, and writes `bytes`. A file whose writing failed stays behind as it
// is.
[[nodiscard]] file_result write_whole_file(std::u16string_view path, std::string_view bytes);

} // namespace tackle::platform
