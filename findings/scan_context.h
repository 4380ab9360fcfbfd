#pragma once

#include "findings/signature_record.h"
#include "findings/test_result.h"
#include "findings/trace_line.h"
#include "message/part.h"

namespace brimwarden::analysis {

// Everything that one scan knows. It lives on the stack of one call, is used by one thread, and what the client may
// see of it later is copied out before it ends.
struct scan_context {
    explicit scan_context(const tackle::internet::message2::part& root) : message(&root) {}

    const tackle::internet::message2::part* message; // the root; has to outlive the scan
    signature_list signatures;
    test_result_list test_results;
    trace_list trace;
    bool community_answered = false; // set by the community client when it has read a reply to its end
    float probability = 0.0F;        // the result, 0 to 100
};

} // namespace brimwarden::analysis
