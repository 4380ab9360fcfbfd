#include "message/body.h"

#include "foundation/coding/coding.h"
#include "foundation/text/line_scanner.h"
#include "foundation/text/strings.h"

#include <algorithm>

#if defined(__SSE2__)
#include <bit>
#include <emmintrin.h>
#endif

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
        return false;
    }

private:
    line_stretch left_;
    line_scanner scanner_;
};

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

namespace {

constexpr std::uint8_t no_digit = 16;

constexpr std::uint8_t hex_value(char c) {
    if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0');
    const char letter = lower_letter(c);
    return letter >= 'a' && letter <= 'f' ? static_cast<std::uint8_t>(letter - 'a' + 10) : no_digit;
}

bool is_line_end(char c) { return c == '\r' || c == '\n'; }

#if defined(__SSE2__)
// Copies 16 bytes, which `from` has and `to` has room for, and returns how many of them need no decoding: none of them
// is an escape, the end of a line that goes on, or a line end other than CR LF. The last two bytes of a block count only
// if nothing in it could be any of these, as what follows them decides. 0 if the first byte has to be decoded.
std::size_t copy_plain_block(const char* from, char* to) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
    const auto mask_of = [](__m128i lanes) { return static_cast<unsigned>(_mm_movemask_epi8(lanes)); };
    const auto equal = [&](char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); };
    const __m128i equals = equal('=');
    const __m128i cr = equal('\r');
    const __m128i lf = equal('\n');
    const __m128i ends = _mm_or_si128(cr, lf);
    if (mask_of(_mm_or_si128(equals, ends)) == 0) return 16;
    const auto among = [](__m128i lanes, char first, char others) {
        const __m128i distance = _mm_sub_epi8(lanes, _mm_set1_epi8(first));
        return _mm_cmpeq_epi8(_mm_min_epu8(distance, _mm_set1_epi8(others)), distance);
    };
    const __m128i lower = _mm_or_si128(block, _mm_set1_epi8('a' - 'A'));
    const unsigned digits = mask_of(_mm_or_si128(among(block, '0', 9), among(lower, 'a', 5)));
    const unsigned escapes = mask_of(equals) & (mask_of(ends) >> 1 | (digits >> 1 & digits >> 2));
    const unsigned lone_ends = (mask_of(cr) & ~(mask_of(lf) >> 1)) | (mask_of(lf) & ~(mask_of(cr) << 1));
    const auto plain = static_cast<std::size_t>(std::countr_zero(escapes | lone_ends | 1U << 14));
    return plain > 0 && from[plain - 1] == '\r' ? plain - 1 : plain; // the next block has to see both bytes of a pair
}
#endif

// Decodes what begins at `at`, be it a byte, an escape or a line end, and steps over it.
char* decode_one(string_view bytes, std::size_t& at, char* to) {
    const char c = bytes[at];
    if (is_line_end(c)) {
        *to++ = '\r';
        *to++ = '\n';
        at = skip_line_end(bytes, at);
        return to;
    }
    if (c == '=') {
        if (at + 1 == bytes.size() || is_line_end(bytes[at + 1])) { // the line goes on
            at = std::min(skip_line_end(bytes, at + 1), bytes.size());
            return to;
        }
        const std::uint8_t high = hex_value(bytes[at + 1]);
        const std::uint8_t low = at + 2 < bytes.size() ? hex_value(bytes[at + 2]) : no_digit;
        if (high != no_digit && low != no_digit) {
            *to++ = static_cast<char>(high << 4 | low);
            at += 3;
            return to;
        }
    }
    *to++ = c;
    ++at;
    return to;
}

} // namespace

// One pass that looks at each escape once: a text can consist of damaged ones, and be decoded again for each of 64
// messages attached within each other.
void decode_quoted_printable_body(const line_stretch& lines, string& out) {
    const string_view bytes = lines.bytes;
    const std::size_t before = out.size();
    out.resize(before + normalised_size(lines));
    char* to = out.data() + before;
    std::size_t at = 0;
    while (at < bytes.size()) {
#if defined(__SSE2__)
        if (at + 16 <= bytes.size()) { // and `out` has room: it is as long, or longer
            const std::size_t plain = copy_plain_block(bytes.data() + at, to);
            at += plain;
            to += plain;
            if (plain > 0) continue;
        }
#endif
        to = decode_one(bytes, at, to);
    }
    // An open line that does not go on; nothing follows one that does.
    if (lines.open && !bytes.ends_with('=')) {
        *to++ = '\r';
        *to++ = '\n';
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
}

// A text in which every line begins a block that never ends costs no more than one walk: "begin" itself can't be
// decoded, so that the search from one such line ends at the next one at the latest.
bool find_uuencoded_block(const line_stretch& lines, uuencoded_block& block) {
    const string_view bytes = lines.bytes;
    const auto is_uuencoded = [](char c) { return c >= 0x20 && c <= 0x60; };
    const auto behind_line = [&](std::size_t end) { return std::min(skip_line_end(bytes, end), bytes.size()); };
    const std::size_t line_end = find_line_end(bytes);
    const string_view line = bytes.substr(0, line_end);
    const std::size_t mode = line.find(' ');
    const std::size_t name = mode == string_view::npos ? mode : line.find(' ', mode + 1);
    if (name == string_view::npos) return false;
    block.name = line.substr(name + 1);
    const std::size_t first = behind_line(line_end);
    for (std::size_t at = first; at < bytes.size() && !is_line_end(bytes[at]);) {
        if (bytes.substr(at).starts_with("end")) {
            const std::size_t end = find_line_end(bytes, at);
            block.lines = {bytes.substr(first, at - first), false};
            block.rest = {bytes.substr(behind_line(end)), lines.open && end < bytes.size()};
            return true;
        }
        // The first byte of a line may be any.
        do
            ++at;
        while (at < bytes.size() && is_uuencoded(bytes[at]));
        if (at < bytes.size() && !is_line_end(bytes[at])) return false;
        at = behind_line(at);
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
