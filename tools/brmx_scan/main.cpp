#include "tools/brmx_scan/complaint.h"
#include "tools/brmx_scan/host.h"
#include "tools/brmx_scan/options.h"
#include "tools/brmx_scan/progress.h"
#include "tools/brmx_scan/scanner.h"
#include "tools/brmx_scan/state_file.h"
#include "tools/brmx_scan/summary.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace brmx_scan {

namespace {

enum exit_status { all_scanned = 0, some_failed = 1, wrong_usage = 2, some_above = 3 };

void write(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void complain(const std::string& text) { std::fprintf(stderr, "brmx-scan: %s\n", printable_name(text).c_str()); }

look look_of(stream shown, const options& chosen) {
    const char* const no_color = std::getenv("NO_COLOR");
    const bool wanted = (no_color == nullptr || *no_color == '\0') && takes_escapes(shown);
    return {chosen.color == when::always || (chosen.color == when::automatic && wanted), chosen.fail_above};
}

exit_status show_health(const engine& running, bool json) {
    const auto health = running.health();
    if (health.status != status_ok) complain("no health: " + explain(health.status));
    write(json ? json_health(health) : plain_health(health));
    return health.status == status_ok ? all_scanned : some_failed;
}

// Shows answers as they come, or all at the end by probability.
class answers {
public:
    explicit answers(bool sort) : sort_(sort) {}

    void add(const report& made, std::string text) {
        if (!sort_) return write(text);
        kept_.push_back({made.result.probability.value_or(-1), std::move(text)});
    }

    void finish() {
        std::ranges::stable_sort(kept_, std::ranges::greater(), &answer::probability);
        for (const auto& one : kept_)
            write(one.text);
    }

private:
    struct answer {
        int probability;
        std::string text;
    };
    const bool sort_;
    std::vector<answer> kept_;
};

exit_status scan(const engine& running, const options& chosen) {
    using clock = std::chrono::steady_clock;
    const auto start = clock::now();
    message_feed messages(chosen.paths, chosen.mbox);
    const bool watched = takes_escapes(stream::error);
    progress shown(watched ? messages.total_bytes() : 0, watched);
    const auto plain = look_of(stream::output, chosen);
    auto asked = chosen.asked;
    if (chosen.json)
        asked.trace = append_json_line;
    else if (chosen.trace)
        asked.trace = [&](std::string& out, std::uint32_t indent, std::u16string_view text) {
            append_plain_line(out, indent, text, plain.color);
        };
    asked.statistics = chosen.json;
    answers out(chosen.sort);
    summary sum;
    exit_status outcome = all_scanned;
    scan_all(running, messages, chosen.jobs, asked, [&](report& made) {
        shown.clear();
        const bool lacking = failed(made, asked);
        if (lacking) outcome = some_failed;
        if (const auto text = complaint(made, made.result.status != community_unavailable); !text.empty()) {
            complain(text);
        }
        out.add(made, chosen.json ? json_report(made, asked) : plain_report(made, asked, plain));
        sum.add(made, lacking);
        shown.step(made.bytes);
    });
    shown.clear();
    out.finish();
    if (sum.messages() == 0 && !chosen.paths.empty()) complain("there is no message in what was named");
    if (chosen.summary == when::always ||
        (chosen.summary == when::automatic && sum.messages() > 1 && is_terminal(stream::error))) {
        std::fflush(stdout);
        const double seconds = std::chrono::duration<double>(clock::now() - start).count();
        std::fputs(sum.text(seconds, look_of(stream::error, chosen)).c_str(), stderr);
    }
    if (outcome == all_scanned && chosen.fail_above && sum.has_above(*chosen.fail_above)) return some_above;
    return outcome;
}

exit_status work(const options& chosen) {
    const engine running;
    if (!chosen.state.empty()) load_state(chosen.state);
    if (chosen.group) {
        const auto status = running.join_community(*chosen.group, chosen.rediscovery_seconds);
        if (status != status_ok) throw std::runtime_error(to_utf8(*chosen.group) + ": " + explain(status));
    }
    const auto health = chosen.health ? show_health(running, chosen.json) : all_scanned;
    const auto scanned = scan(running, chosen);
    if (!chosen.state.empty()) save_state(chosen.state);
    return health == all_scanned ? scanned : health;
}

} // namespace

int run(const std::vector<std::string>& arguments) {
    const auto [chosen, error] = parse_options(arguments);
    if (!error.empty()) {
        complain(error);
        std::fputs("Try 'brmx-scan --help'.\n", stderr);
        return wrong_usage;
    }
    prepare_streams();
    exit_status outcome = all_scanned;
    try {
        if (chosen.help) {
            write(usage_text);
        } else if (chosen.version) {
            write("brmx-scan " + version_text() + '\n');
        } else {
            outcome = work(chosen);
        }
    } catch (const std::exception& failure) {
        complain(failure.what());
        outcome = some_failed;
    }
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return outcome;
    complain("standard output could not be written");
    return some_failed;
}

} // namespace brmx_scan
