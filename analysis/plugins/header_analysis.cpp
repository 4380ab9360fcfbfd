#include "analysis/plugins/header_analysis.h"

#include "analysis/plugins/root_tests.h"

namespace brimwarden::analysis::plugins::header_analysis {

void plugin::generate(const tackle::internet::message2::part& root, signature_list&, test_result_list& test_results,
                      trace_list&) {
    test_root(root, test_results);
}

void plugin::apply(const tackle::internet::message2::part&, signature_list&, test_result_list&, trace_list&) {}

} // namespace brimwarden::analysis::plugins::header_analysis
