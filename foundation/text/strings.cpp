#include "foundation/text/strings.h"

#include "foundation/text/substring.h"
#include "platform/character_class.h"

#include <algorithm>
#include <array>

namespace tackle {

namespace {

template <typename unit>
using view_of = std::basic_string_view<unit>;

// Membership in a set of characters: a table for the first 256, a search for the rest.
template <typename unit>
class character_set {
public:
    explicit character_set(view_of<unit> set) noexcept : all_(set) {
        for (const unit c : set)
            if (index(c) < table_.size()) table_[index(c)] = true;
    }
    bool operator()(unit c) const noexcept {
        if constexpr (sizeof(unit) == 1) {
            return table_[index(c)];
        } else {
            return index(c) < table_.size() ? table_[index(c)] : all_.find(c) != view_of<unit>::npos;
        }
    }

private:
    static std::size_t index(unit c) noexcept { return static_cast<std::make_unsigned_t<unit>>(c); }

    view_of<unit> all_;
    std::array<bool, 256> table_{};
};

template <typename unit>
void lower_all(std::basic_string<unit>& s) noexcept {
    for (unit& c : s)
        c = lower_letter(c);
}

template <typename unit>
void upper_all(std::basic_string<unit>& s) noexcept {
    for (unit& c : s)
        c = upper_letter(c);
}

template <typename unit>
bool equal_lowered(view_of<unit> a, view_of<unit> b) noexcept {
    return std::ranges::equal(a, b, [](unit x, unit y) { return lower_letter(x) == lower_letter(y); });
}

template <typename unit>
std::basic_string<unit> replaced(view_of<unit> s, view_of<unit> from, view_of<unit> to) {
    std::basic_string<unit> out;
    std::size_t done = 0;
    if (!from.empty()) {
        const substring<unit> search(from);
        for (auto at = search.find_in(s); at != s.npos; at = search.find_in(s, done)) {
            out.append(s, done, at - done);
            out.append(to);
            done = at + from.size();
        }
    }
    out.append(s, done);
    return out;
}

template <typename unit>
std::basic_string<unit> kept(view_of<unit> s, view_of<unit> set) {
    const character_set<unit> wanted(set);
    std::basic_string<unit> out;
    std::ranges::copy_if(s, std::back_inserter(out), wanted);
    return out;
}

template <typename unit>
std::vector<view_of<unit>> pieces(view_of<unit> s, view_of<unit> delimiters, bool keep_empty) {
    const character_set<unit> ends(delimiters);
    std::vector<view_of<unit>> result;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= s.size(); ++i) {
        if (i < s.size() && !ends(s[i])) continue;
        if (keep_empty || i > start) result.push_back(s.substr(start, i - start));
        start = i + 1;
    }
    return result;
}

} // namespace

string to_lower(string_view s) {
    string result(s);
    lower_all(result);
    return result;
}

wstring to_lower(wstring_view s) {
    wstring result(s);
    lower_all(result);
    return result;
}

string to_upper(string_view s) {
    string result(s);
    upper_all(result);
    return result;
}

wstring to_upper(wstring_view s) {
    wstring result(s);
    upper_all(result);
    return result;
}

void to_lower_in_place(string& s) noexcept { lower_all(s); }
void to_lower_in_place(wstring& s) noexcept { lower_all(s); }
void to_upper_in_place(string& s) noexcept { upper_all(s); }
void to_upper_in_place(wstring& s) noexcept { upper_all(s); }

bool iequals(string_view a, string_view b) noexcept { return equal_lowered(a, b); }
bool iequals(wstring_view a, wstring_view b) noexcept { return equal_lowered(a, b); }

bool iless(string_view a, string_view b) noexcept {
    return std::ranges::lexicographical_compare(
        a, b, {}, [](char c) { return static_cast<unsigned char>(lower_letter(c)); },
        [](char c) { return static_cast<unsigned char>(lower_letter(c)); });
}

bool contains(string_view s, string_view x) { return substring<char>(x).find_in(s) != s.npos; }
bool contains(wstring_view s, wstring_view x) { return substring<char16_t>(x).find_in(s) != s.npos; }

string replace_all(string_view s, string_view from, string_view to) { return replaced(s, from, to); }
wstring replace_all(wstring_view s, wstring_view from, wstring_view to) { return replaced(s, from, to); }
void replace_all_in_place(string& s, string_view from, string_view to) { s = replaced<char>(s, from, to); }
void replace_all_in_place(wstring& s, wstring_view from, wstring_view to) { s = replaced<char16_t>(s, from, to); }

string keep_only(string_view s, string_view set) { return kept(s, set); }
wstring keep_only(wstring_view s, wstring_view set) { return kept(s, set); }

std::vector<string_view> split(string_view s, string_view delimiters) { return pieces(s, delimiters, true); }
std::vector<wstring_view> split(wstring_view s, wstring_view delimiters) { return pieces(s, delimiters, true); }
std::vector<string_view> split_tokens(string_view s, string_view delimiters) { return pieces(s, delimiters, false); }
std::vector<wstring_view> split_tokens(wstring_view s, wstring_view delimiters) { return pieces(s, delimiters, false); }

std::vector<string_view> split_quoted(string_view s, string_view delimiters) {
    const character_set<char> ends(delimiters);
    std::vector<string_view> result;
    bool quoted = false;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= s.size(); ++i) {
        const bool quote = i < s.size() && s[i] == '"';
        if (i < s.size() && !quote && (quoted || !ends(s[i]))) continue;
        if (i > start) result.push_back(s.substr(start, i - start));
        start = i + 1;
        quoted ^= quote;
    }
    return result;
}

bool is_digits(string_view s) noexcept {
    return std::ranges::all_of(s, [](char c) { return c >= '0' && c <= '9'; });
}

bool is_digits(wstring_view s) {
    const std::uint16_t* const classes = platform::character_classes();
    return std::ranges::all_of(s, [classes](char16_t c) { return (classes[c] & platform::digit) != 0; });
}

bool has_visible(wstring_view s) {
    // Printable is what the run-time library of Windows calls so: letters, digits, punctuation, the blanks. A unit that
    // is merely defined is not.
    constexpr std::uint16_t printable =
        platform::upper | platform::lower | platform::digit | platform::punct | platform::alpha | platform::blank;
    const std::uint16_t* const classes = platform::character_classes();
    return std::ranges::any_of(
        s, [classes](char16_t c) { return (classes[c] & printable) != 0 && (classes[c] & platform::space) == 0; });
}

} // namespace tackle
