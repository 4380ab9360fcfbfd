#pragma once

#include "tools/brmx_scan/engine.h"
#include "tools/brmx_scan/options.h"
#include "tools/brmx_scan/output.h"
#include "tools/brmx_scan/sources.h"

#include <functional>

namespace brmx_scan {

// Scans the messages with `jobs` threads and hands the reports to `show` in the order of the messages, one at a time,
// so that the number of threads cannot be seen in the output. Threads that run ahead of a slow message wait: what is
// read or done and not yet shown stays within a few messages a thread.
void scan_all(const engine& scanner, message_feed& messages, unsigned jobs, const questions& asked,
              const std::function<void(report&)>& show);

} // namespace brmx_scan
