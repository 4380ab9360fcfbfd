#include "message/header_section.h"

#include "foundation/line_scanner.h"
#include "message/line_search.h"

#include <algorithm>

namespace tackle::internet::message2 {
namespace {

bool is_white(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_white_no_blank(char c) { return c >= '\t' && c <= '\r'; }
bool is_separator(char c) { return c == ':' || is_white(c); }

void skip_separators(string_view& text) {
    text.remove_prefix(
        static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_separator) - text.begin()));
}

class section_reader {
public:
    explicit section_reader(header_list& headers) : headers_(headers) {}

    void take_line(string_view line) {
        const auto text = std::find_if_not(line.begin(), line.end(), is_white);
        const bool continues = text != line.begin() && any_;
        line.remove_prefix(static_cast<std::size_t>(text - line.begin()));
        if (continues) {
            continue_field(line);
        } else {
            begin_field(line);
        }
    }

private:
    void begin_field(string_view line) {
        any_ = true;
        const auto end = std::find_if(line.begin(), line.end(), is_separator);
        const auto name = static_cast<std::size_t>(end - line.begin());
        string_view value = line.substr(name);
        skip_separators(value);
        has_value_ = !value.empty();
        headers_.add(line.substr(0, name), with_blanks(value));
    }

    // The blank of the fold separates too, as long as the value has not begun.
    void continue_field(string_view line) {
        if (has_value_) {
            headers_.extend_last(" ");
        } else {
            skip_separators(line);
            has_value_ = !line.empty();
        }
        headers_.extend_last(with_blanks(line));
    }

    string_view with_blanks(string_view text) {
        if (std::none_of(text.begin(), text.end(), is_white_no_blank))
            return text;
        scratch_ = text;
        std::replace_if(scratch_.begin(), scratch_.end(), is_white_no_blank, ' ');
        return scratch_;
    }

    header_list& headers_;
    string scratch_;
    bool any_ = false;       // a field has begun
    bool has_value_ = false; // the value of the last one has begun
};

} // namespace

void read_header_section(string_view section, header_list& headers) {
    // All fields are counted first: a section of a million short ones must not pay for the growth of a list.
    std::size_t fields = 1; // the first line is one even if it begins with a blank
    for (std::size_t at = 0; at < section.size(); at = skip_line_end(section, find_line_end(section, at)))
        if (!is_white(section[at]))
            ++fields;
    // A few short values need no room of their own, and values make up most of a section.
    headers.reserve(headers.size() + fields + 1, section.size() < 64 ? 0 : section.size() / 4 * 3);
    section_reader reader(headers);
    for (std::size_t at = 0; at < section.size();) {
        const std::size_t end = find_line_end(section, at);
        reader.take_line(section.substr(at, end - at));
        at = skip_line_end(section, end);
    }
}

} // namespace tackle::internet::message2
