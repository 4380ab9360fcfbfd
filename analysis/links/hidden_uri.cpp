#include "analysis/links/hidden_uri.h"

#include "analysis/links/top_level_domains.h"
#include "analysis/links/uri_parsing.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "platform/character_class.h"

#include <algorithm>
#include <array>

namespace brimwarden::analysis {

using tackle::string;
using tackle::wstring;
using tackle::wstring_view;

namespace {

constexpr std::uint32_t utf8 = 65001;
constexpr auto none = position_set::none;
constexpr std::size_t too_long_label = 64;
constexpr unsigned labels_of_quad = 4;
// An escape has so many units at most in front of its last one.
constexpr unsigned longest_escape_reach = 5;

constexpr std::uint16_t alphanumeric = tackle::platform::alpha | tackle::platform::digit;
constexpr std::uint16_t graphic = alphanumeric | tackle::platform::punct;
constexpr std::uint16_t space = tackle::platform::space | tackle::platform::blank;

bool is_digit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
bool ends_path(char16_t unit) { return unit == u'?' || unit == u'#' || unit == u';' || unit == u'&'; }

} // namespace

hidden_uri_search::hidden_uri_search(wstring_view text, bool strict_host)
    : units_(text), classes_(tackle::platform::character_classes()), strict_host_(strict_host),
      marks_(strict_host ? path_unit : mark_count) {
    for (auto& marked : marks_)
        marked.reset(text.size());
    // A word of each set at a time: one position after the other would cost as much as all the rounds.
    for (std::size_t start = 0; start < text.size(); start += position_set::word_bits) {
        std::array<std::uint64_t, mark_count> words{};
        const auto block = text.substr(start, position_set::word_bits);
        for (std::size_t i = 0; i < block.size(); ++i) {
            if (block[i] == u'%') escapes_.push_back(start + i);
            const std::uint64_t marks = marks_of(block[i]);
            for (std::size_t which = 0; which < marks_.size(); ++which)
                words[which] |= (marks >> which & 1) << i;
        }
        for (std::size_t which = 0; which < marks_.size(); ++which)
            marks_[which].insert_word(start, words[which]);
    }
}

std::optional<wstring> hidden_uri_search::find() {
    for (;;) {
        changes_.clear();
        const auto candidate = start_;
        if (!strip_prefix()) return std::nullopt;
        decode();
        if (has_host()) {
            undo();
            start_ = candidate;
            return rest();
        }
        const auto found = find_start();
        if (found == none || found == next(live, start_)) return std::nullopt;
        start_ = found;
    }
}

unsigned hidden_uri_search::marks_of(char16_t unit) const {
    unsigned marks = 1U << live;
    const auto put = [&marks](mark which) { marks |= 1U << which; };
    if (!is_digit(unit)) put(no_digit);
    if (unit == u'@') put(at_sign);
    if (unit == u':') put(colon);
    if (unit == u'/' || unit == u'?' || unit == u'&') put(user_end);
    const bool in_host = unit == u'.' || unit == u'-' || (classes_[unit] & alphanumeric) != 0;
    if (in_host) {
        put(host_unit);
        if (unit != u'.') put(host_label_unit);
    } else if (strict_host_ || unit == u'/' || unit == u'+' || ends_path(unit)) {
        put(host_end);
    }
    if (strict_host_) return marks;
    if (unit == u'/' || ends_path(unit)) {
        put(path_end);
        if (unit != u'/') put(path_stop);
    } else if ((classes_[unit] & (graphic | space)) != 0) {
        put(path_unit);
        if ((classes_[unit] & space) == 0) put(path_text);
        put(unit == u'.' ? full_stop : path_label_unit);
    }
    return marks;
}

void hidden_uri_search::set_marks(std::size_t position) {
    const auto marks = marks_of(units_[position]);
    for (std::size_t which = 0; which < marks_.size(); ++which) {
        if ((marks >> which & 1) != 0) marks_[which].insert(position);
    }
}

void hidden_uri_search::clear_marks(std::size_t position) {
    for (auto& marked : marks_)
        marked.erase(position);
}

void hidden_uri_search::erase(std::size_t position) {
    changes_.push_back({position, units_[position], true});
    clear_marks(position);
}

void hidden_uri_search::replace(std::size_t position, char16_t unit) {
    changes_.push_back({position, units_[position], false});
    clear_marks(position);
    units_[position] = unit;
    set_marks(position);
}

// A change at a place may complete an escape in front of it.
void hidden_uri_search::wake_escapes_before(std::size_t position) {
    for (unsigned reach = 0; reach < longest_escape_reach; ++reach) {
        position = marks_[live].previous(position);
        if (position == none || position < start_) return;
        if (units_[position] == u'%') woken_.push_back(position);
    }
}

bool hidden_uri_search::starts_with(std::size_t position, wstring_view prefix) const {
    for (const auto unit : prefix) {
        if (position == none || units_[position] != unit) return false;
        position = behind(position);
    }
    return true;
}

// False if the candidate has the form of a mail address.
bool hidden_uri_search::strip_prefix() {
    bool has_scheme = false;
    for (const wstring_view scheme : {u"http:", u"https:"}) {
        if (!starts_with(next(live, start_), scheme)) continue;
        for (std::size_t i = 0; i < scheme.size(); ++i)
            start_ = next(live, start_) + 1;
        has_scheme = true;
    }
    if (has_scheme) {
        auto first = next(live, start_);
        while (first != none && units_[first] == u'/')
            first = behind(first);
        start_ = std::min(first, units_.size());
    }
    const auto at = next(at_sign, start_);
    if (at != none && at < next(user_end, start_)) {
        if (!has_scheme) return false;
        start_ = at + 1;
    }
    strip_port();
    return true;
}

void hidden_uri_search::strip_port() {
    const auto sign = next(colon, start_);
    if (sign == none) return;
    const auto end = next(no_digit, sign + 1);
    if (end == none || end == behind(sign)) return;
    for (auto position = sign; position != end; position = behind(position))
        erase(position);
    // In this round still: the escapes are resolved behind the stripping.
    woken_.clear();
    wake_escapes_before(end);
    escapes_.insert(escapes_.end(), woken_.begin(), woken_.end());
    std::ranges::sort(escapes_);
    escapes_.erase(std::unique(escapes_.begin(), escapes_.end()), escapes_.end());
}

// Resolves each escape once, as decode_uri_escapes does.
void hidden_uri_search::decode() {
    woken_.clear();
    auto end = start_; // of what has been resolved
    for (std::size_t i = 0; i < escapes_.size(); ++i) {
        const auto position = escapes_[i];
        // One that the round has used up, or that follows a "%" directly and belongs to it.
        if (position < end || !marks_[live].contains(position) || units_[position] != u'%') continue;
        bool stop = false;
        auto resolved = read_escape(position, stop);
        if (stop) {
            woken_.insert(woken_.end(), escapes_.begin() + static_cast<std::ptrdiff_t>(i), escapes_.end());
            break;
        }
        if (!resolved) continue;
        if (!byte_positions_.empty() && (!resolved->byte || end != position)) finish_bytes();
        end = std::min(resolved->end, units_.size());
        for (auto used = behind(position); used < end; used = behind(used))
            erase(used);
        end = next(live, end);
        if (resolved->byte) {
            byte_positions_.push_back(position);
            bytes_ += static_cast<char>(*resolved->byte);
        } else {
            replace(position, resolved->units.front());
            if (units_[position] == u'%') woken_.push_back(position);
        }
        wake_escapes_before(position);
    }
    finish_bytes();
    std::ranges::sort(woken_);
    woken_.erase(std::unique(woken_.begin(), woken_.end()), woken_.end());
    escapes_.swap(woken_);
}

// Whether so many bytes of UTF-8 follow.
bool hidden_uri_search::has_bytes_behind(std::size_t position, std::size_t count) const {
    std::size_t bytes = 0;
    while (bytes < count) {
        position = behind(position);
        if (position == none) return false;
        const auto unit = units_[position];
        bytes += unit < 0x80 ? 1 : unit < 0x800 || (unit & 0xF800) == 0xD800 ? 2 : 3;
    }
    return true;
}

// None if the escape is broken; `stop` if the text is too short for it, which ends the round.
std::optional<hidden_uri_search::escape> hidden_uri_search::read_escape(std::size_t position, bool& stop) {
    const auto first = behind(position);
    stop = first == none;
    if (stop) return std::nullopt;
    const auto kind = units_[first];
    if (kind == u'%') return escape{first + 1, u"%", std::nullopt};
    const bool is_unit = kind == u'u' || kind == u'U';
    stop = is_unit ? !has_bytes_behind(first, 4) : !has_bytes_behind(position, 2);
    if (stop) return std::nullopt;
    string digits;
    auto last = is_unit ? first : position;
    for (std::size_t i = 0; i < (is_unit ? 4U : 2U); ++i) {
        last = behind(last);
        if (last == none || units_[last] > 0x7F) return std::nullopt;
        digits += static_cast<char>(units_[last]);
    }
    if (!is_unit) {
        const auto byte = decode_byte(digits[0], digits[1]);
        if (!byte) return std::nullopt;
        if (*byte > 0x7F) return escape{last + 1, {}, byte};
        return escape{last + 1, wstring(1, tackle::lower_letter(static_cast<char16_t>(*byte))), std::nullopt};
    }
    const auto unit = decode_unit(digits);
    if (!unit) return std::nullopt;
    auto units = tackle::unicode::to_wide(tackle::unicode::to_narrow(wstring_view(&*unit, 1), utf8, true), utf8);
    tackle::to_lower_in_place(units);
    return escape{last + 1, std::move(units), std::nullopt};
}

// Bytes above ASCII make characters together, which have no more units than bytes.
void hidden_uri_search::finish_bytes() {
    if (byte_positions_.empty()) return;
    const auto units = tackle::unicode::to_wide(bytes_, utf8);
    for (std::size_t i = 0; i < byte_positions_.size(); ++i) {
        if (i < units.size())
            replace(byte_positions_[i], units[i]);
        else
            erase(byte_positions_[i]);
    }
    byte_positions_.clear();
    bytes_.clear();
}

// Whether extract_host_and_path and reverse_domain would make anything of the text.
bool hidden_uri_search::has_host() const {
    auto host = next(live, start_);
    while (host != none && units_[host] == u'/')
        host = behind(host);
    if (host == none) return false;
    const auto end = std::min(next(host_end, host), units_.size());
    if (next(host_unit, host) >= end) {
        // Nothing of the host is left, and then the path takes its place.
        return !strict_host_ && end < units_.size() && units_[end] == u'/' && has_host_in_path(end);
    }
    constexpr address_marks of_host{host_unit, host_label_unit};
    return has_domain(host, end, of_host) || is_quad(host, end, of_host);
}

bool hidden_uri_search::has_domain(std::size_t host, std::size_t end, address_marks marks) const {
    std::size_t length = 0;
    char16_t label[longest_top_level_domain];
    const auto previous = [&](mark which, std::size_t before) {
        const auto found = marks_[which].previous(before);
        return found == none || found < host ? none : found;
    };
    auto position = previous(marks.label_unit, end);
    for (; position != none && units_[position] != u'.'; position = previous(marks.unit, position)) {
        if (length == longest_top_level_domain) return false;
        label[longest_top_level_domain - ++length] = units_[position];
    }
    if (!is_top_level_domain({label + longest_top_level_domain - length, length}) || position == none) return false;
    length = 0;
    position = previous(marks.label_unit, position);
    for (; position != none && units_[position] != u'.'; position = previous(marks.unit, position)) {
        if (++length == too_long_label) return false;
    }
    return length > 0;
}

// Stops at the first unit that can't be part of a number, so it does not run over the start of another address. A blank
// ends the address, but the labels after it count as well: for each, up to one too many, a short one is put in.
bool hidden_uri_search::is_quad(std::size_t host, std::size_t end, address_marks marks) const {
    wstring kept;
    auto position = next(marks.unit, host);
    for (; position < end && (classes_[units_[position]] & space) == 0; position = next(marks.unit, position + 1)) {
        const auto unit = units_[position];
        const bool numeric = is_digit(unit) || (unit >= u'a' && unit <= u'f') || unit == u'x' || unit == u'.';
        if (!numeric || (kept.empty() && !is_digit(unit))) return false;
        kept += unit;
    }
    if (position < end) {
        kept += u' ';
        for (unsigned labels = 0; labels < labels_of_quad; ++labels) {
            const auto stop = next(full_stop, position);
            if (stop >= end) break;
            position = next(marks.label_unit, stop);
            if (position >= end) break;
            kept += u".x";
        }
    }
    wstring value;
    return reverse_domain(kept, value);
}

// The first path segment with anything in it is the host then. It may hold the starts of all later rounds, so it is not
// walked either.
bool hidden_uri_search::has_host_in_path(std::size_t slash) const {
    constexpr address_marks of_path{path_unit, path_label_unit};
    const auto stop = std::min(next(path_stop, slash), units_.size());
    const auto host = next(path_text, slash);
    if (host >= stop) return false;
    auto end = std::min(next(path_end, host), units_.size());
    // Blanks at the end of a segment stay if another segment follows.
    if (next(path_text, end) >= stop) end = marks_[path_text].previous(end) + 1;
    return has_domain(host, end, of_path) || is_quad(host, end, of_path);
}

std::size_t hidden_uri_search::find_start() const {
    for (auto position = next(live, start_); position != none; position = behind(position)) {
        const auto unit = units_[position];
        if (unit == u'h' && (starts_with(position, u"http:") || starts_with(position, u"https:"))) return position;
        if (unit == u'w' && starts_with(position, u"www.")) return position;
    }
    return none;
}

void hidden_uri_search::undo() {
    for (auto one = changes_.rbegin(); one != changes_.rend(); ++one) {
        units_[one->position] = one->unit;
        if (one->erased) marks_[live].insert(one->position);
    }
    changes_.clear();
}

wstring hidden_uri_search::rest() const {
    wstring text;
    for (auto position = next(live, start_); position != none; position = behind(position))
        text += units_[position];
    return text;
}

} // namespace brimwarden::analysis
