#pragma once

#include "findings/scan_context.h"

namespace brimwarden::analysis {

// The two stages of a scan, with the community's answer between them. The class has no data and its operations need no
// object, so they also run when the engine has been shut down. Both throw only what a plugin throws; a scan that was
// left by an exception is of no use.
class analysis_engine {
public:
    // Lists the parts in the trace, lets every plugin look at the logical root, sorts the signatures by type and value,
    // keeps the first of equal ones, and lists them.
    static void generate_signatures(scan_context& scan);

    // Turns what the community knows and what the tests have found into scan.probability, and explains it in the trace.
    // Needs generate_signatures first. Signatures that were not answered count as unknown.
    static void classify(scan_context& scan);
};

} // namespace brimwarden::analysis
