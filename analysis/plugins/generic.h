#pragma once

#include "findings/signature_record.h"
#include "findings/test_result.h"
#include "findings/trace_line.h"
#include "message/part.h"

namespace brimwarden::analysis::plugins::generic {

// One view of a message. A plugin lives for one scan and knows neither the other stages nor the community; `root` is
// the logical root, and what is found goes into the lists.
class plugin {
public:
    virtual ~plugin() = default;

    // Before the community is asked. Only signatures that are added here are asked for.
    virtual void generate(const tackle::internet::message2::part& root, signature_list& signatures,
                          test_result_list& test_results, trace_list& trace) = 0;
    // After a complete answer of the community, which stands in the signatures; without one it does not run.
    virtual void apply(const tackle::internet::message2::part& root, signature_list& signatures,
                       test_result_list& test_results, trace_list& trace) = 0;
};

} // namespace brimwarden::analysis::plugins::generic
