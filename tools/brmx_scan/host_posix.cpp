#include "tools/brmx_scan/host.h"

#include <cstdlib>
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

void prepare_streams() noexcept {}

} // namespace brmx_scan

int main(int count, char** values) { return brmx_scan::run({values + (count > 0 ? 1 : 0), values + count}); }
