#include "tools/brmx_scan/progress.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace brmx_scan {

void progress::step(std::uint64_t bytes) {
    constexpr std::size_t width = 24;
    ++messages_;
    bytes_ += bytes;
    const auto now = clock::now();
    if (!wanted_ || now < next_) return;
    next_ = now + std::chrono::milliseconds(200);
    const double seconds = std::chrono::duration<double>(now - start_).count();
    char text[160];
    std::snprintf(text, sizeof text, "%zu messages, %.0f/s, %.1f MB/s", messages_,
                  static_cast<double>(messages_) / seconds, static_cast<double>(bytes_) / 1e6 / seconds);
    std::string line = text;
    if (total_ > 0 && bytes_ > 0) {
        const double share = std::min(1.0, static_cast<double>(bytes_) / static_cast<double>(total_));
        const auto left = static_cast<unsigned long long>(seconds / share - seconds + 0.5);
        const auto filled = static_cast<std::size_t>(share * width);
        std::snprintf(text, sizeof text, ", %llu:%02llu:%02llu left", left / 3600, left / 60 % 60, left % 60);
        line = '[' + std::string(filled, '#') + std::string(width - filled, '.') + "] " + line + text;
    }
    // Without wrapping: a narrow terminal would else get a new line each time, and only the last one is cleared.
    std::fprintf(stderr, "\r\x1b[?7l%s\x1b[K\x1b[?7h", line.c_str());
    visible_ = true;
}

void progress::clear() {
    if (visible_) std::fputs("\r\x1b[K", stderr);
    visible_ = false;
}

} // namespace brmx_scan
