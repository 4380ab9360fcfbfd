#include "message/header_section.h"

#include "foundation/text/line_scanner.h"
#include "message/line_search.h"

#include <algorithm>

namespace tackle::internet::message2 {
namespace {

constexpr auto is_white = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
constexpr auto is_white_in_line = [](char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; };
constexpr auto is_no_blank = [](char c) { return c >= '\t' && c <= '\r'; };
constexpr auto is_separator = [](char c) { return c == ':' || is_white(c); };

void skip_separators(string_view& text) {
    std::size_t count = 0;
    while (count < text.size() && is_separator(text[count]))
        ++count;
    text.remove_prefix(count);
}

class section_reader {
public:
    explicit section_reader(header_list& headers) : headers_(headers) {}

    // A line without the white space it began with, if it `continues` the one before. `blanks_only` says that all white
    // space left is blanks already.
    void take_line(string_view text, bool continues, bool blanks_only) {
        blanks_only_ = blanks_only;
        if (continues && any_) {
            continue_field(text);
        } else {
            begin_field(text);
        }
    }

private:
    void begin_field(string_view line) {
        any_ = true;
        std::size_t name = 0;
        while (name < line.size() && !is_separator(line[name]))
            ++name;
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
        if (blanks_only_) return text;
        scratch_ = text;
        std::replace_if(scratch_.begin(), scratch_.end(), is_no_blank, ' ');
        return scratch_;
    }

    header_list& headers_;
    string scratch_;
    bool any_ = false;       // a field has begun
    bool has_value_ = false; // the value of the last one has begun
    bool blanks_only_ = true;
};

} // namespace

void read_header_section(string_view section, std::size_t fields, header_list& headers) {
    // Room for the fields, the first line, which is one even if it begins with a blank, and for the Content-Type that a
    // section without one gets.
    headers.reserve(headers.size() + fields + 2, section.size() + string_view("Content-Type").size());
    section_reader reader(headers);
    for (std::size_t at = 0; at < section.size();) {
        std::size_t text = at;
        while (text < section.size() && is_white_in_line(section[text]))
            ++text;
        // One search for line ends and for all other white space but blanks.
        const std::size_t first_white = find_white_control(section, text);
        const std::size_t end = find_line_end(section, first_white);
        reader.take_line(section.substr(text, end - text), text != at, first_white == end);
        at = skip_line_end(section, end);
    }
}

} // namespace tackle::internet::message2
