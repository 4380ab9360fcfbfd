#include "tools/brmx_scan/host.h"
#include "tools/brmx_scan/options.h"
#include "tools/brmx_scan/scanner.h"
#include "tools/brmx_scan/state_file.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace brmx_scan {

namespace {

enum exit_status { all_scanned = 0, some_failed = 1, wrong_usage = 2 };

// A line that is rewritten in place, for a person who waits. Nothing is shown for work of less than a second.
class progress {
public:
    progress(std::size_t total, bool wanted) : total_(total), wanted_(wanted) {}

    void step() {
        ++done_;
        const auto now = clock::now();
        if (!wanted_ || now < next_) return;
        next_ = now + std::chrono::milliseconds(200);
        std::fprintf(stderr, "\r%zu of %zu messages", done_, total_);
        visible_ = true;
    }

    void clear() {
        if (visible_) std::fputs("\r\x1b[K", stderr);
        visible_ = false;
    }

private:
    using clock = std::chrono::steady_clock;
    std::size_t done_ = 0;
    const std::size_t total_;
    const bool wanted_;
    clock::time_point next_ = clock::now() + std::chrono::seconds(1);
    bool visible_ = false;
};

void write(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

bool failed(const report& made, const questions& asked) {
    if (!made.error.empty()) return true;
    return asked.what == action::scan ? !made.result.probability : made.result.status != status_ok;
}

// Also when there is an answer, but not the whole one.
void complain(const report& made, bool has_community) {
    const bool local = made.error.empty() && made.result.probability;
    if (local && (made.result.status == status_ok || !has_community)) return;
    const std::string reason = made.error.empty() ? status_name(made.result.status) : made.error;
    std::fprintf(stderr, "brmx-scan: %s: %s%s\n", made.file.c_str(), reason.c_str(),
                 local ? "; the number comes from local tests alone" : "");
}

exit_status show_health(const engine& running, bool json) {
    const auto health = running.health();
    if (health.status != status_ok) std::fprintf(stderr, "brmx-scan: no health: %s\n", status_name(health.status));
    write(json ? json_health(health) : plain_health(health));
    return health.status == status_ok ? all_scanned : some_failed;
}

exit_status work(const options& chosen) {
    const engine running;
    if (!chosen.state.empty()) load_state(chosen.state);
    if (chosen.group) {
        const auto status = running.join_community(*chosen.group, chosen.rediscovery_seconds);
        if (status != status_ok) throw std::runtime_error(*chosen.group + ": " + status_name(status));
    }
    exit_status outcome = chosen.health ? show_health(running, chosen.json) : all_scanned;
    const auto sources = list_sources(chosen.paths);
    progress shown(sources.size(), standard_error_is_terminal());
    auto asked = chosen.asked;
    asked.trace = asked.trace || chosen.json;
    asked.statistics = chosen.json;
    scan_all(running, sources, chosen.jobs, asked, [&](const report& made) {
        shown.clear();
        if (failed(made, asked)) outcome = some_failed;
        complain(made, made.result.status != community_unavailable);
        write(chosen.json ? json_report(made, asked) : plain_report(made, asked));
        shown.step();
    });
    if (!chosen.state.empty()) save_state(chosen.state);
    shown.clear();
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fputs("brmx-scan: standard output could not be written\n", stderr);
        return some_failed;
    }
    return outcome;
}

} // namespace

int run(const std::vector<std::string>& arguments) {
    const auto [chosen, error] = parse_options(arguments);
    if (!error.empty()) {
        std::fprintf(stderr, "brmx-scan: %s\nTry 'brmx-scan --help'.\n", error.c_str());
        return wrong_usage;
    }
    prepare_streams();
    if (chosen.help) {
        std::fputs(usage_text, stdout);
        return all_scanned;
    }
    try {
        if (chosen.version) {
            std::printf("brmx-scan %s\n", version_text().c_str());
            return all_scanned;
        }
        return work(chosen);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "brmx-scan: %s\n", failure.what());
        return some_failed;
    }
}

} // namespace brmx_scan
