#pragma once

#include "analysis/plugins/generic.h"

namespace brimwarden::analysis::plugins::text_analysis {

// The text that a reader would see.
class plugin final : public generic::plugin {
public:
    void generate(const tackle::internet::message2::part& root, signature_list& signatures,
                  test_result_list& test_results, trace_list& trace) override;
    void apply(const tackle::internet::message2::part& root, signature_list& signatures, test_result_list& test_results,
               trace_list& trace) override;
};

} // namespace brimwarden::analysis::plugins::text_analysis
