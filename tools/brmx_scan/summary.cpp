#include "tools/brmx_scan/summary.h"

#include <algorithm>
#include <cstdio>

namespace brmx_scan {

namespace {

struct step {
    int first;
    int last;
};
step step_of(std::size_t index) {
    const int tens = 10 * (static_cast<int>(index) - 1);
    return index == 0 ? step{0, 0} : index == 11 ? step{100, 100} : step{std::max(1, tens), tens + 9};
}

std::size_t index_of(int probability) {
    return probability <= 0 ? 0 : std::min<std::size_t>(11, static_cast<std::size_t>(probability / 10 + 1));
}

} // namespace

void summary::add(const report& made, bool failed) {
    ++messages_;
    if (failed) ++failed_;
    bytes_ += made.bytes;
    if (!made.result.probability) return;
    ++counts_.at(index_of(*made.result.probability));
    highest_ = std::max(highest_, *made.result.probability);
}

std::string summary::text(double seconds, const look& chosen) const {
    constexpr std::size_t width = 50;
    char line[200];
    std::snprintf(line, sizeof line, "%zu messages, %zu failed, %.1f MB in %.1f s: %.0f messages/s\n", messages_,
                  failed_, static_cast<double>(bytes_) / 1e6, seconds,
                  static_cast<double>(messages_) / std::max(seconds, 1e-3));
    std::string out = line;
    const auto most = *std::ranges::max_element(counts_);
    for (std::size_t i = 0; most > 0 && i < counts_.size(); ++i) {
        const auto [first, last] = step_of(i);
        const auto range = first == last ? std::to_string(first) : std::to_string(first) + '-' + std::to_string(last);
        // At least one mark for one message among many.
        const auto length = (counts_.at(i) * width + most - 1) / most;
        std::snprintf(line, sizeof line, "%6s %9zu", range.c_str(), counts_.at(i));
        out += line;
        if (length > 0) out += ' ' + (color_of(last, chosen) + std::string(length, '#')) + color_end(chosen);
        out += '\n';
    }
    return out;
}

} // namespace brmx_scan
