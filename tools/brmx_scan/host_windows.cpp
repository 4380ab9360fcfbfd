#include "tools/brmx_scan/host.h"

#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <ios>
#include <string_view>

namespace brmx_scan {

namespace {

// Half a character becomes U+FFFD: not worth refusing to start.
std::string utf8_of(std::wstring_view text) {
    const auto units = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, out.data(), bytes, nullptr, nullptr);
    return out;
}

} // namespace

// Not by the narrow getenv, which answers in the system's code page and loses what that does not have.
std::optional<std::string> environment_value(const char* name) {
    const wchar_t* const value = _wgetenv(std::wstring(name, name + std::strlen(name)).c_str());
    return value == nullptr ? std::nullopt : std::optional(utf8_of(value));
}

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
    std::ios::sync_with_stdio(false); // synchronised, standard input takes a failure for its end
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
    for (int i = 1; i < count; ++i)
        arguments.push_back(brmx_scan::utf8_of(values[i]));
    return brmx_scan::run(arguments);
}
