#include "analysis/links/uri_parsing.h"

#include "analysis/links/top_level_domains.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "foundation/text/unit_search.h"
#include "network/numeric_address.h"
#include "platform/character_class.h"

#include <algorithm>

namespace brimwarden::analysis {

using tackle::string;
using tackle::string_view;
using tackle::wstring;
using tackle::wstring_view;

namespace {

constexpr std::uint32_t utf8 = 65001;
constexpr auto npos = wstring_view::npos;

// A value has this many labels and path segments at most.
constexpr unsigned most_pieces = 5;
constexpr std::size_t too_long_label = 64;
constexpr std::size_t too_long_segment = 25;

constexpr std::uint16_t alphanumeric = tackle::platform::alpha | tackle::platform::digit;
constexpr std::uint16_t graphic = alphanumeric | tackle::platform::punct;
constexpr std::uint16_t space = tackle::platform::space | tackle::platform::blank;

int hex_digit(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

} // namespace

std::size_t find_uri_start(wstring_view text, std::size_t from) {
    // By their last units, which are rarer in a text than their first. None of the three lies in another, so the first
    // one to end is the first one to begin.
    for (auto end = from; (end = tackle::find_either(text, u':', u'.', end)) < text.size(); ++end) {
        const auto before = text.substr(from, end - from);
        for (const wstring_view start : {u"www", u"http", u"https"}) {
            if ((start.front() == u'w') == (text[end] == u'.') && before.ends_with(start)) return end - start.size();
        }
    }
    return npos;
}

wstring_view strip_uri_prefix(wstring_view candidate, wstring& scratch) {
    bool has_scheme = false;
    for (const wstring_view scheme : {u"http:", u"https:"}) {
        if (!candidate.starts_with(scheme)) continue;
        candidate.remove_prefix(scheme.size());
        has_scheme = true;
    }
    if (has_scheme) candidate.remove_prefix(std::min(candidate.find_first_not_of(u'/'), candidate.size()));
    const auto at = candidate.find(u'@');
    if (at != npos && at < candidate.find_first_of(u"/?&")) {
        if (!has_scheme) return {};
        candidate.remove_prefix(at + 1);
    }
    const auto colon = candidate.find(u':');
    if (colon == npos) return candidate;
    const auto behind = candidate.find_first_not_of(u"0123456789", colon + 1);
    // A port at the very end stays: the values have always been made so.
    if (behind == npos || behind == colon + 1) return candidate;
    scratch.assign(candidate.substr(0, colon)).append(candidate.substr(behind));
    return scratch;
}

std::optional<unsigned char> decode_byte(char high, char low) {
    const auto first = hex_digit(high);
    const auto second = hex_digit(low);
    if (first < 0 || second < 0) return std::nullopt;
    return static_cast<unsigned char>(first * 16 + second);
}

std::optional<char16_t> decode_unit(string_view digits) {
    const auto high = decode_byte(digits[0], digits[1]);
    const auto low = decode_byte(digits[2], digits[3]);
    if (!high || !low) return std::nullopt;
    // The low byte is a signed one: it takes one from the high byte if its own highest bit is set. Every installation
    // has to err in the same way.
    return static_cast<char16_t>(*high * 256 + static_cast<signed char>(*low));
}

namespace {

wstring decoded_escapes(wstring_view text) {
    try {
        const auto encoded = tackle::unicode::to_narrow(text, utf8, true);
        string decoded;
        decoded.reserve(encoded.size());
        std::size_t done = 0;
        for (std::size_t at = 0; (at = encoded.find('%', at)) != string::npos;) {
            const auto left = encoded.size() - at - 1;
            if (left == 0) break;
            const auto next = encoded[at + 1];
            std::size_t used = 0;
            string character;
            if (next == '%') {
                used = 2;
                character = "%";
            } else if (next == 'u' || next == 'U') {
                if (left < 5) break;
                if (const auto unit = decode_unit(string_view(encoded).substr(at + 2, 4))) {
                    used = 6;
                    character = tackle::unicode::to_narrow(wstring_view(&*unit, 1), utf8, true);
                }
            } else {
                if (left < 2) break;
                if (const auto byte = decode_byte(next, encoded[at + 2])) {
                    used = 3;
                    character = static_cast<char>(*byte);
                }
            }
            if (used != 0) {
                decoded.append(encoded, done, at - done);
                decoded += character;
                done = at + used;
            }
            at += std::max<std::size_t>(used, 1);
        }
        decoded.append(encoded, done);
        auto result = tackle::unicode::to_wide(decoded, utf8);
        tackle::to_lower_in_place(result);
        return result;
    } catch (const tackle::unicode::generic&) {
        return wstring(text);
    }
}

} // namespace

wstring_view decode_uri_escapes(wstring_view text, wstring& scratch) {
    const auto is_capital = [](char16_t unit) { return unit >= u'A' && unit <= u'Z'; };
    const auto needs_decoding = [](char16_t unit) { return unit == u'%' || (unit >= 0xD800 && unit <= 0xDFFF); };
    if (std::ranges::any_of(text, needs_decoding))
        scratch = decoded_escapes(text);
    else if (std::ranges::any_of(text, is_capital))
        scratch = tackle::to_lower(text);
    else
        return text;
    return scratch;
}

namespace {

// The path pieces behind the host: false if a query or a fragment has ended them.
bool append_segment(wstring_view piece, const std::uint16_t* classes, wstring& result) {
    const auto start = result.size();
    for (const auto unit : piece) {
        if (unit == u'?' || unit == u'#' || unit == u';' || unit == u'&') return false;
        const bool is_space = (classes[unit] & space) != 0;
        if (!is_space && (classes[unit] & graphic) == 0) continue;
        if (result.size() == start) {
            if (is_space) continue;
            result += u'/';
        }
        result += is_space ? u' ' : unit;
    }
    return true;
}

} // namespace

wstring extract_host_and_path(wstring_view text, bool strict_host) {
    const auto* classes = tackle::platform::character_classes();
    wstring result;
    text.remove_prefix(std::min(text.find_first_not_of(u'/'), text.size()));
    result.reserve(text.size());
    const auto host = text.substr(0, text.find(u'/'));
    for (const auto unit : host) {
        if (unit == u'.' || unit == u'-' || (classes[unit] & alphanumeric) != 0) {
            result += unit;
        } else if (strict_host || wstring_view(u"?#;&+").find(unit) != npos) {
            return result;
        }
    }
    text.remove_prefix(host.size());
    while (!text.empty()) {
        text.remove_prefix(1);
        const auto piece = text.substr(0, text.find(u'/'));
        if (!append_segment(piece, classes, result)) break;
        text.remove_prefix(piece.size());
    }
    while (!result.empty() && (classes[result.back()] & space) != 0)
        result.pop_back();
    return result;
}

namespace {

// As inet_addr reads it: white space ends the address, and what follows is ignored.
bool is_numeric_host(wstring_view host, std::uint32_t& address) {
    // What no number begins with need not be converted.
    if (host.front() < u'0' || host.front() > u'9') return false;
    host = host.substr(0, host.find_first_of(wstring_view(u" \t\n\v\f\r\0", 7)));
    if (std::ranges::any_of(host, [](char16_t unit) { return unit > 0x7F; })) return false;
    const auto parsed = tackle::internet::address::parse_numeric(string(host.begin(), host.end()));
    if (!parsed || *parsed == 0xFFFFFFFF) return false;
    address = *parsed;
    return true;
}

wstring widened(string_view text) { return wstring(text.begin(), text.end()); }

// The labels from the last to the first. The number of those taken, 0 if the host is none.
unsigned append_labels(wstring_view host, wstring& value) {
    unsigned count = 0;
    while (!host.empty() && count < most_pieces) {
        const auto dot = host.rfind(u'.');
        const auto label = host.substr(dot == npos ? 0 : dot + 1);
        host = host.substr(0, dot == npos ? 0 : dot);
        if (label.empty()) continue;
        if (count == 0) {
            if (!is_top_level_domain(label)) return 0;
        } else {
            if (label.size() >= too_long_label) break;
            value += u'.';
        }
        value += label;
        ++count;
    }
    return count;
}

} // namespace

bool reverse_domain(wstring_view host_and_path, wstring& value) {
    const auto next_piece = [&host_and_path] {
        host_and_path.remove_prefix(std::min(host_and_path.find_first_not_of(u'/'), host_and_path.size()));
        const auto piece = host_and_path.substr(0, host_and_path.find(u'/'));
        host_and_path.remove_prefix(piece.size());
        return piece;
    };
    const auto host = next_piece();
    if (host.empty()) return false;
    unsigned count = 0;
    std::uint32_t address = 0;
    if (is_numeric_host(host, address) && tackle::split_tokens(host, u".").size() == 4) {
        value += widened(tackle::internet::address::numeric_text(address));
        count = 4;
    } else {
        count = append_labels(host, value);
        if (count < 2) return false;
    }
    for (auto piece = next_piece(); count < most_pieces && !piece.empty(); piece = next_piece()) {
        if (piece.size() >= too_long_segment) break;
        value += u'/';
        value += piece;
        ++count;
    }
    return true;
}

} // namespace brimwarden::analysis
