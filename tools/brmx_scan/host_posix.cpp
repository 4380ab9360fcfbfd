#include "tools/brmx_scan/host.h"

#include <cstdlib>
#include <fcntl.h>
#include <ios>
#include <unistd.h>

namespace brmx_scan {

std::optional<std::string> environment_value(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

bool is_terminal(stream which) noexcept { return isatty(which == stream::output ? STDOUT_FILENO : STDERR_FILENO) == 1; }

bool takes_escapes(stream which) noexcept {
    const char* const kind = std::getenv("TERM");
    return is_terminal(which) && kind != nullptr && std::string_view(kind) != "dumb";
}

// A file or a socket would get the number of a stream that is closed, and with it what is meant for the stream. What
// stands there instead is open the wrong way round: to use it fails, as it would have.
void prepare_streams() noexcept {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    std::ios::sync_with_stdio(false); // synchronised, standard input takes a failure for its end
}

} // namespace brmx_scan

int main(int count, char** values) { return brmx_scan::run({values + (count > 0 ? 1 : 0), values + count}); }
