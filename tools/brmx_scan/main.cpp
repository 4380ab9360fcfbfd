#include "tools/brmx_scan/host.h"
#include "tools/brmx_scan/options.h"
#include "tools/brmx_scan/scanner.h"

#include <chrono>
#include <cstdio>
#include <exception>

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

void complain(const report& failed) {
    const std::string reason = failed.error.empty() ? status_name(failed.result.status) : failed.error;
    std::fprintf(stderr, "brmx-scan: %s: %s\n", failed.file.c_str(), reason.c_str());
}

exit_status scan(const options& chosen) {
    const engine scanner;
    const auto sources = list_sources(chosen.paths);
    progress shown(sources.size(), standard_error_is_terminal());
    exit_status outcome = all_scanned;
    const questions asked{chosen.trace || chosen.json, chosen.languages};
    scan_all(scanner, sources, chosen.jobs, asked, [&](const report& made) {
        shown.clear();
        if (!made.error.empty() || !made.result.probability) {
            complain(made);
            outcome = some_failed;
        }
        write(chosen.json ? json_report(made, asked) : plain_report(made, asked));
        shown.step();
    });
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
        return scan(chosen);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "brmx-scan: %s\n", failure.what());
        return some_failed;
    }
}

} // namespace brmx_scan
