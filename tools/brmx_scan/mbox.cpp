#include "tools/brmx_scan/mbox.h"

#include <algorithm>
#include <utility>

namespace brmx_scan {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 18;
constexpr std::string_view from = "From ";

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_year(std::string_view word) { return word.size() == 4 && std::ranges::all_of(word, is_digit); }

// 7:04 and more of it.
bool is_time(std::string_view word) {
    const auto colon = word.find(':');
    return colon != word.npos && colon > 0 && colon + 1 < word.size() && is_digit(word[colon - 1]) &&
           is_digit(word[colon + 1]);
}

bool is_empty_line(std::string_view line) { return line == "\n" || line == "\r\n"; }

// The end of the line included.
bool is_separator(std::string_view line) {
    if (!line.starts_with(from) || !line.ends_with('\n')) return false;
    bool time = false;
    bool year = false;
    while (!line.empty()) {
        const auto end = std::min(line.find_first_of(" \r\n"), line.size());
        time = time || is_time(line.substr(0, end));
        year = year || is_year(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return time && year;
}

bool is_field(std::string_view line) {
    if (line.starts_with(">From ")) return true; // the line of an earlier delivery
    const auto end = std::ranges::find_if(line, [](char c) { return c == ':' || c <= ' ' || c > '~'; });
    return end != line.begin() && end != line.end() && *end == ':';
}

} // namespace

mbox_reader::mbox_reader(std::istream& in) : in_(in), block_(block_size, '\0') {}

// A line with its end, a piece of one that is longer than a block, or nothing at the end of the file.
std::string_view mbox_reader::take_line() {
    for (;;) {
        const std::string_view rest(block_.data() + at_, filled_ - at_);
        const auto end = rest.find('\n');
        if (end != rest.npos || rest.size() == block_.size() || !in_) {
            const auto line = rest.substr(0, end == rest.npos ? end : end + 1);
            at_ += line.size();
            return line;
        }
        block_.replace(0, rest.size(), block_, at_, rest.size());
        at_ = 0;
        in_.read(block_.data() + rest.size(), static_cast<std::streamsize>(block_.size() - rest.size()));
        filled_ = rest.size() + static_cast<std::size_t>(in_.gcount());
    }
}

bool mbox_reader::next(std::string& message, std::uint64_t& size) {
    message = std::exchange(carried_, {});
    size = message.size();
    std::string candidate; // may be the first line of the next message: the next line decides
    bool line_start = message.empty() || message.ends_with('\n');
    bool after_empty = false;
    const auto add = [&](std::string_view text) {
        size += text.size();
        if (size > largest_message) {
            message = {};
        } else {
            message += text;
        }
    };
    for (;;) {
        const auto line = take_line();
        if (line.empty()) break;
        if (size == 0 && is_empty_line(line)) continue; // in front of the first message: no message
        if (!candidate.empty()) {
            if (is_field(line)) {
                carried_ = candidate.append(line);
                break;
            }
            add(candidate);
            candidate.clear();
        } else if (line_start && after_empty && is_separator(line)) {
            candidate = line;
            after_empty = false;
            continue;
        }
        after_empty = line_start && is_empty_line(line);
        line_start = line.ends_with('\n');
        add(line);
    }
    if (carried_.empty()) add(candidate);
    return size > 0;
}

void take_out_of_mbox(std::string& message) {
    if (message.starts_with(from)) message.erase(0, std::min(message.find('\n'), message.size() - 1) + 1);
    const std::string_view text = message;
    for (const std::string_view end : {"\r\n\r\n", "\n\n"}) {
        if (!text.ends_with(end)) continue;
        message.resize(message.size() - end.size() / 2);
        break;
    }
    // In place: what is written never overtakes what is read.
    std::size_t read = 0;
    std::size_t written = 0;
    while (read < message.size()) {
        const auto past = std::min(message.find('\n', read), message.size() - 1) + 1;
        const auto quotes = message.find_first_not_of('>', read);
        if (quotes != message.npos && quotes > read && message.compare(quotes, from.size(), from) == 0) ++read;
        std::copy(message.begin() + static_cast<std::ptrdiff_t>(read),
                  message.begin() + static_cast<std::ptrdiff_t>(past),
                  message.begin() + static_cast<std::ptrdiff_t>(written));
        written += past - read;
        read = past;
    }
    message.resize(written);
}

} // namespace brmx_scan
