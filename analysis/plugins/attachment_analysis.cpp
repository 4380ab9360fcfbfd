#include "analysis/plugins/attachment_analysis.h"

namespace brimwarden::analysis::plugins::attachment_analysis {

void plugin::generate(const tackle::internet::message2::part&, signature_list&, test_result_list&, trace_list&) {}

void plugin::apply(const tackle::internet::message2::part&, signature_list&, test_result_list&, trace_list&) {}

} // namespace brimwarden::analysis::plugins::attachment_analysis
