#include "server/tool/teach.h"

#include "tools/brmx_scan/progress.h"
#include "tools/brmx_scan/sources.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace brimwarden::server::tool {

bool teach(operator_link& server, const lesson& given) {
    brmx_scan::message_feed feed(given.paths, brmx_scan::when::automatic);
    brmx_scan::progress shown(feed.total_bytes(), ::isatty(STDERR_FILENO) == 1);
    brmx_scan::source one;
    std::size_t taught = 0;
    std::size_t refused = 0;
    while (feed.next(one)) {
        std::string content;
        if (one.error.empty() && one.content) content = std::move(*one.content);
        if (one.error.empty() && content.empty()) one.error = brmx_scan::read_source(one.name, content);
        if (one.error.empty() && content.empty()) one.error = "is empty";
        if (one.error.empty()) {
            try {
                server.ask({{"command", "teach"}, {"wanted", given.wanted}, {"why", given.why}}, content);
                ++taught;
            } catch (const refusal& problem) {
                one.error = problem.what();
            }
        }
        if (!one.error.empty()) {
            shown.clear();
            std::fprintf(stderr, "brmx-community: %s: %s\n", one.name.c_str(), one.error.c_str());
            ++refused;
        }
        shown.step(content.size());
    }
    shown.clear();
    if (given.json)
        std::puts(nlohmann::json{{"taught", taught}, {"refused", refused}}.dump().c_str());
    else
        std::printf("%zu messages taught as %s, %zu refused\n", taught, given.wanted ? "wanted" : "spam", refused);
    return refused == 0 && taught > 0;
}

} // namespace brimwarden::server::tool
