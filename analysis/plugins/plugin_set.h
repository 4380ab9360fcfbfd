#pragma once

#include "analysis/plugins/attachment_analysis.h"
#include "analysis/plugins/header_analysis.h"
#include "analysis/plugins/text_analysis.h"

#include <array>

namespace brimwarden::analysis::plugins {

// The three plugins, for one pass over one message. None of them keeps anything from `generate` that `apply` reads.
struct plugin_set {
    attachment_analysis::plugin attachment_plugin;
    header_analysis::plugin header_plugin;
    text_analysis::plugin text_plugin;

    // The order is fixed: it is that of the findings in the trace.
    [[nodiscard]] std::array<generic::plugin*, 3> in_order() {
        return {&attachment_plugin, &header_plugin, &text_plugin};
    }
};

} // namespace brimwarden::analysis::plugins
