#include "message/body.h"

#include "foundation/coding.h"
#include "foundation/line_scanner.h"
#include "foundation/strings.h"

#include <algorithm>

namespace tackle::internet::message2 {
namespace {

// Gives the lines of a stretch one by one.
class stretch_reader {
public:
    explicit stretch_reader(const line_stretch& lines) : left_(lines), scanner_(lines.bytes) {}

    bool next(string_view& line) {
        if (left_.open || scanner_.position() < left_.bytes.size()) {
            scanner_.next(line);
            if (line.data() + line.size() == left_.bytes.data() + left_.bytes.size()) left_.open = false;
            return true;
        }
        if (left_.empty_lines == 0) return false;
        --left_.empty_lines;
        line = {};
        return true;
    }
    // The lines not yet given.
    [[nodiscard]] line_stretch rest() const {
        return {left_.bytes.substr(scanner_.position()), left_.open, left_.empty_lines};
    }

private:
    line_stretch left_;
    line_scanner scanner_;
};

bool is_uuencoded(string_view line) {
    return std::all_of(line.begin(), line.end(), [](char c) { return c >= 0x20 && c <= 0x60; });
}

} // namespace

void decode_base64_body(const line_stretch& lines, string& out) {
    out.reserve(out.size() + lines.bytes.size() / 4 * 3 + 3);
    string pending; // lines whose lengths do not yet add up
    stretch_reader reader(lines);
    string_view line;
    while (reader.next(line)) {
        if (pending.empty() && line.size() % 4 == 0) {
            coding::translate::base64_decode(line, out, false);
            continue;
        }
        pending += line;
        if (pending.size() % 4 != 0) continue;
        coding::translate::base64_decode(pending, out, false);
        pending.clear();
    }
    coding::translate::base64_decode(pending, out, false);
}

// Lines without "=" are most of most bodies, and go to the data in runs.
void decode_quoted_printable_body(const line_stretch& lines, string& out) {
    const string_view bytes = lines.bytes;
    out.reserve(out.size() + normalised_size(lines));
    std::size_t from = 0; // a line begins there
    for (std::size_t equals = bytes.find('='); equals != string_view::npos; equals = bytes.find('=', from)) {
        std::size_t first = from;
        std::size_t end = find_line_end(bytes, from);
        if (end < equals) {
            first = equals;
            while (bytes[first - 1] != '\r' && bytes[first - 1] != '\n')
                --first;
            append_normalised({bytes.substr(from, first - from), false, 0}, out);
            end = find_line_end(bytes, equals);
        }
        const bool goes_on = bytes[end - 1] == '=';
        coding::translate::quoted_printable_decode(bytes.substr(first, end - first - (goes_on ? 1 : 0)), out, false);
        if (!goes_on) out += "\r\n";
        if (end == bytes.size()) {
            append_normalised({{}, false, lines.empty_lines}, out);
            return;
        }
        from = skip_line_end(bytes, end);
    }
    append_normalised({bytes.substr(from), lines.open, lines.empty_lines}, out);
}

bool has_quoted_printable_escape(const line_stretch& lines) {
    const string_view bytes = lines.bytes;
    const auto is_line_end = [&](std::size_t at) {
        return at >= bytes.size() || bytes[at] == '\r' || bytes[at] == '\n';
    };
    const auto is_digit = [&](std::size_t at) {
        if (at >= bytes.size()) return false;
        const char c = lower_letter(bytes[at]);
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    };
    for (std::size_t at = bytes.find('='); at != string_view::npos; at = bytes.find('=', at + 1))
        if (is_line_end(at + 1) || (is_digit(at + 1) && is_digit(at + 2))) return true;
    return false;
}

// A text in which every line begins a block that never ends costs no more than one walk: "begin" itself can't be
// decoded, so that the search from one such line ends at the next one at the latest.
bool find_uuencoded_block(const line_stretch& lines, uuencoded_block& block) {
    stretch_reader reader(lines);
    string_view line;
    if (!reader.next(line)) return false;
    const std::size_t mode = line.find(' ');
    const std::size_t name = mode == string_view::npos ? mode : line.find(' ', mode + 1);
    if (name == string_view::npos) return false;
    block.name = line.substr(name + 1);
    const line_stretch behind_name = reader.rest();
    while (reader.next(line)) {
        if (line.starts_with("end")) {
            const auto length = static_cast<std::size_t>(line.data() - behind_name.bytes.data());
            block.lines = {behind_name.bytes.substr(0, length), false, 0};
            block.rest = reader.rest();
            return true;
        }
        if (line.empty() || !is_uuencoded(line.substr(1))) return false;
    }
    return false;
}

string decode_uuencoded_block(const line_stretch& lines) {
    string data;
    data.reserve(lines.bytes.size() / 4 * 3);
    stretch_reader reader(lines);
    string_view line;
    while (reader.next(line))
        coding::translate::uu_decode(line.substr(1), data, true);
    return data;
}

} // namespace tackle::internet::message2
