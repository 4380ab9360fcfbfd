#include "tools/brmx_scan/output.h"

#include <algorithm>
#include <cstdio>

namespace brmx_scan {

namespace {

constexpr char32_t replacement = 0xFFFD;

bool is_high(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool is_low(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

// Takes one character off the front of `text`; a lone surrogate comes back as it is.
char32_t take_character(std::u16string_view& text) {
    const char16_t first = text[0];
    if (is_high(first) && text.size() > 1 && is_low(text[1])) {
        const char32_t character = 0x10000 + ((first & 0x3FFu) << 10) + (text[1] & 0x3FFu);
        text.remove_prefix(2);
        return character;
    }
    text.remove_prefix(1);
    return first;
}

void append_utf8(std::string& out, char32_t character) {
    const auto trail = [&](int shift) { out += static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
        out += static_cast<char>(character);
    } else if (character < 0x800) {
        out += static_cast<char>(0xC0 | (character >> 6));
        trail(0);
    } else if (character < 0x10000) {
        out += static_cast<char>(0xE0 | (character >> 12));
        trail(6);
        trail(0);
    } else {
        out += static_cast<char>(0xF0 | (character >> 18));
        trail(12);
        trail(6);
        trail(0);
    }
}

bool is_surrogate(char32_t character) { return character >= 0xD800 && character <= 0xDFFF; }
bool is_control(char32_t character) { return character < 0x20 || (character >= 0x7F && character < 0xA0); }

void append_escape(std::string& out, char32_t unit) {
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(unit));
    out += escape;
}

void append_json(std::string& out, std::u16string_view text) {
    out += '"';
    while (!text.empty()) {
        const char32_t character = take_character(text);
        if (character == '"' || character == '\\') {
            out += '\\';
            out += static_cast<char>(character);
        } else if (is_control(character) || is_surrogate(character)) {
            append_escape(out, character); // a lone surrogate has no UTF-8, and its escape keeps the unit
        } else {
            append_utf8(out, character);
        }
    }
    out += '"';
}

// The length of the well-formed UTF-8 sequence at the front, 0 if there is none.
std::size_t sequence_length(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xC2 && first < 0xE0   ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    if (length == 0 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    const unsigned second = byte(1);
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool outside = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
    return overlong || outside ? 0 : length;
}

// True if the sequence at the front is a control character: up to 0x9F its last byte is its number.
bool is_control(std::string_view text, std::size_t length) {
    if (length != 1 && (length != 2 || text[0] != '\xC2')) return false;
    return is_control(static_cast<unsigned char>(text[length - 1]));
}

// File names are bytes on some systems; what is no UTF-8 is replaced, as JSON has no way to carry it.
void append_json_bytes(std::string& out, std::string_view text) {
    out += '"';
    while (!text.empty()) {
        const std::size_t length = sequence_length(text);
        const auto first = static_cast<unsigned char>(text[0]);
        if (length == 0) {
            append_utf8(out, replacement);
        } else if (first == '"' || first == '\\') {
            out += '\\';
            out += text[0];
        } else if (is_control(text, length)) {
            append_escape(out, static_cast<unsigned char>(text[length - 1]));
        } else {
            out += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    out += '"';
}

void append_languages(std::string& out, const std::vector<language_share>& languages) {
    out += ", \"languages\": [";
    const char* separator = "";
    for (const auto& share : languages) {
        out += separator;
        out += "{\"lcid\": " + std::to_string(share.lcid) + ", \"tag\": \"" + language_tag(share.lcid) +
               "\", \"relevance\": " + std::to_string(share.relevance) + '}';
        separator = ", ";
    }
    out += ']';
}

void append_statistics(std::string& out, const community_statistics& statistics) {
    const std::pair<const char*, std::uint32_t> counters[] = {
        {"bytes_sent", statistics.bytes_sent},
        {"bytes_received", statistics.bytes_received},
        {"datagrams_sent", statistics.datagrams_sent},
        {"datagrams_received", statistics.datagrams_received},
        {"connections_made", statistics.connections_made},
        {"connections_failed", statistics.connections_failed},
        {"latency_ms", statistics.latency_ms},
    };
    out += ", \"statistics\": {";
    const char* separator = "\"";
    for (const auto& [name, count] : counters) {
        out += separator;
        out += name + ("\": " + std::to_string(count));
        separator = ", \"";
    }
    out += '}';
}

} // namespace

std::string to_utf8(std::u16string_view text) {
    std::string out;
    while (!text.empty()) {
        const char32_t character = take_character(text);
        append_utf8(out, is_surrogate(character) ? replacement : character);
    }
    return out;
}

std::string plain_health(const community_health& health) {
    if (health.status != status_ok) return {};
    return std::to_string(health.reachable) + " servers answer, " + std::to_string(health.unreachable) +
           " do not; the best takes " + std::to_string(health.latency_ms) + " ms\n";
}

std::string json_health(const community_health& health) {
    return "{\"status\": " + std::to_string(static_cast<std::uint32_t>(health.status)) + ", \"status_name\": \"" +
           status_name(health.status) + "\", \"reachable\": " + std::to_string(health.reachable) +
           ", \"unreachable\": " + std::to_string(health.unreachable) +
           ", \"latency_ms\": " + std::to_string(health.latency_ms) + "}\n";
}

std::string printable(std::u16string_view text) {
    std::string out;
    while (!text.empty()) {
        const char32_t character = take_character(text);
        append_utf8(out, is_surrogate(character) ? replacement : is_control(character) ? U' ' : character);
    }
    return out;
}

std::string printable_name(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t length = sequence_length(text);
        if (is_control(text, length)) {
            out += '?';
        } else {
            out += text.substr(0, std::max<std::size_t>(length, 1));
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out;
}

const char* color_of(int probability, const look& chosen) noexcept {
    if (!chosen.color) return "";
    if (chosen.limit) return probability > *chosen.limit ? "\x1b[31m" : "\x1b[32m";
    return probability >= 90 ? "\x1b[31m" : probability >= 50 ? "\x1b[33m" : "\x1b[32m";
}

const char* color_end(const look& chosen) noexcept { return chosen.color ? "\x1b[m" : ""; }

std::string plain_report(report& shown, const questions& asked, const look& chosen) {
    std::string out;
    if (shown.result.probability) {
        char number[16];
        std::snprintf(number, sizeof number, "%3d", *shown.result.probability);
        out = color_of(*shown.result.probability, chosen);
        out += number;
        out += color_end(chosen);
        out += ' ';
    } else if (asked.what != action::scan && shown.error.empty() && shown.result.status == status_ok) {
        out = asked.what == action::report ? "reported " : "revoked ";
    } else {
        return {};
    }
    out += printable_name(shown.file);
    const char* before = " [";
    for (const auto& share : shown.result.languages) {
        out += before;
        out += language_tag(share.lcid);
        before = ", ";
    }
    if (asked.languages) out += shown.result.languages.empty() ? " []" : "]";
    out += '\n';
    if (!asked.trace) return out;
    out = std::move(shown.result.trace.insert(0, out)); // in place: it may be most of all memory
    out += '\n';
    return out;
}

void append_plain_line(std::string& out, std::uint32_t indent, std::u16string_view text, bool color) {
    const bool heading = color && indent == 0 && !text.empty();
    if (!text.empty()) out.append(4 * (indent + 1), ' ');
    if (heading) out += "\x1b[1m";
    out += printable(text);
    if (heading) out += "\x1b[m";
    out += '\n';
}

void append_json_line(std::string& out, std::uint32_t indent, std::u16string_view text) {
    if (!out.empty()) out += ", ";
    out += '[' + std::to_string(indent) + ", ";
    append_json(out, text);
    out += ']';
}

std::string json_report(report& shown, const questions& asked) {
    std::string out = "{\"file\": ";
    append_json_bytes(out, shown.file);
    if (!shown.error.empty()) {
        out += ", \"status\": null, \"status_name\": null, \"probability\": null, \"trace\": [], \"error\": ";
        append_json_bytes(out, shown.error);
        return out + "}\n";
    }
    out += ", \"status\": " + std::to_string(static_cast<std::uint32_t>(shown.result.status)) +
           ", \"status_name\": \"" + status_name(shown.result.status) + "\", \"probability\": ";
    out += shown.result.probability ? std::to_string(*shown.result.probability) : "null";
    out += ", \"trace\": [";
    out = std::move(shown.result.trace.insert(0, out)); // as above
    out += ']';
    if (asked.languages) append_languages(out, shown.result.languages);
    if (asked.statistics) append_statistics(out, shown.result.statistics);
    out += "}\n";
    return out;
}

} // namespace brmx_scan
