#include "tools/brmx_scan/host.h"

#include <fcntl.h>
#include <filesystem>
#include <io.h>
#include <stdio.h>
#include <windows.h>

namespace brmx_scan {

bool is_terminal(stream which) noexcept { return _isatty(_fileno(which == stream::output ? stdout : stderr)) != 0; }

bool takes_escapes(stream which) noexcept {
    const HANDLE console = GetStdHandle(which == stream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) != 0 &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

void prepare_streams() noexcept {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY); // the same output on every target, line ends too
    SetConsoleOutputCP(CP_UTF8);
}

} // namespace brmx_scan

// Asks the start-up code to expand patterns: the command processor leaves that to the program.
extern "C" {
extern int _dowildcard;
int _dowildcard = -1;
}

// The wide entry point: the narrow one would lose file names that the system's code page does not have.
int wmain(int count, wchar_t** values) {
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        const auto text = std::filesystem::path(values[i]).u8string();
        arguments.emplace_back(text.begin(), text.end());
    }
    return brmx_scan::run(arguments);
}
