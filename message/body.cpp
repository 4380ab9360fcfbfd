#include "message/body.h"

#include "foundation/coding.h"
#include "foundation/line_scanner.h"

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

void decode_quoted_printable_body(const line_stretch& lines, string& out) {
    out.reserve(out.size() + normalised_size(lines));
    stretch_reader reader(lines);
    string_view line;
    while (reader.next(line)) {
        const bool goes_on = !line.empty() && line.back() == '=';
        if (goes_on) line.remove_suffix(1);
        if (line.find('=') == string_view::npos) {
            out += line;
        } else {
            coding::translate::quoted_printable_decode(line, out, false);
        }
        if (!goes_on) out += "\r\n";
    }
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
