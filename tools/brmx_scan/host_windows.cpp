#include "tools/brmx_scan/host.h"

#include <fcntl.h>
#include <filesystem>
#include <io.h>
#include <stdio.h>
#include <windows.h>

namespace brmx_scan {

bool standard_error_is_terminal() noexcept { return _isatty(_fileno(stderr)) != 0; }

void prepare_streams() noexcept {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY); // the same output on every target, line ends too
    SetConsoleOutputCP(CP_UTF8);
}

} // namespace brmx_scan

// The wide entry point: the narrow one would lose file names that the system's code page does not have.
int wmain(int count, wchar_t** values) {
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        const auto text = std::filesystem::path(values[i]).u8string();
        arguments.emplace_back(text.begin(), text.end());
    }
    return brmx_scan::run(arguments);
}
