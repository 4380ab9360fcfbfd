#include "tools/brmx_scan/host.h"

#include <unistd.h>

namespace brmx_scan {

bool standard_error_is_terminal() noexcept { return isatty(STDERR_FILENO) == 1; }

void prepare_streams() noexcept {}

} // namespace brmx_scan

int main(int count, char** values) { return brmx_scan::run({values + (count > 0 ? 1 : 0), values + count}); }
