#include "analysis/links/uri_extraction.h"

#include "analysis/links/top_level_domains.h"
#include "analysis/links/uri_parsing.h"
#include "analysis/links/uri_scan.h"
#include "deployment/deployment.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/header_type/addresses_value_type.h"
#include "message/part_walk.h"
#include "platform/character_class.h"
#include "view/if_readable.h"

#include <algorithm>
#include <vector>

namespace brimwarden::analysis {

using tackle::string_view;
using tackle::wstring;
using tackle::wstring_view;
using tackle::internet::message2::part;

namespace {

constexpr auto npos = wstring_view::npos;

// Lower-cased and in order.
std::vector<wstring> file_names(const part& root) {
    std::vector<wstring> names;
    tackle::internet::message2::walk_parts(root, false, [&](const part& one) {
        const auto info = one.attachment_info();
        // A million parts without a name have one between them.
        if (!info.filename.empty() || names.empty() || !names.back().empty())
            names.push_back(tackle::to_lower(info.filename));
        return true;
    });
    std::ranges::sort(names);
    return names;
}

bool is_space(char16_t unit) {
    return tackle::platform::is_class(unit, tackle::platform::space | tackle::platform::blank);
}

std::size_t find_space(wstring_view text, std::size_t from) {
    const auto found = std::find_if(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), is_space);
    return found == text.end() ? npos : static_cast<std::size_t>(found - text.begin());
}

// What ends an address that stands behind such a unit; 0 if only white space does.
char16_t closing_unit(char16_t opening) {
    switch (opening) {
    case u'"':
        return u'"';
    case u'(':
        return u')';
    case u'<':
    case u'@':
        return u'>';
    case u'[':
        return u']';
    default:
        return 0;
    }
}

} // namespace

void scan_links(const part& root, const tackle::html::text_set& links, uri_list& uris) {
    const auto names = file_names(root);
    seen_queries seen;
    for (const auto link : links) {
        if (!std::ranges::binary_search(names, link, {}, [](const auto& name) { return wstring_view(name); }))
            scan_uri(link, true, uris, seen);
    }
}

void scan_text_for_uris(wstring_view text, uri_list& uris) {
    for (std::size_t start = 0; (start = find_uri_start(text, start)) != npos;) {
        const auto closing = start == 0 ? u'\0' : closing_unit(text[start - 1]);
        const auto end = closing == 0 ? find_space(text, start) : text.find(closing, start);
        scan_uri(text.substr(start, end == npos ? npos : end - start), false, uris);
        if (end == npos) return;
        start = end;
    }
}

namespace {

// The value that the words from "www" to a top-level domain spell.
wstring spoken_value(const token_list& tokens, std::size_t first, std::size_t domain) {
    wstring value(tokens[domain]);
    for (auto i = domain; i-- > first;) {
        if (tokens[i] == u"dot") continue;
        value += u'.';
        value += tokens[i];
    }
    return value;
}

} // namespace

bool may_spell_uris(wstring_view text) {
    constexpr wstring_view first_word = u"www";
    const auto is_edge = [text](std::size_t at) { return at >= text.size() || text[at] == u' ' || text[at] == u'.'; };
    // Every third unit is enough: no such word fits between two of them.
    for (auto at = first_word.size() - 1; at < text.size(); at += first_word.size()) {
        if (text[at] != u'w') continue;
        for (auto begin = at + 1 - first_word.size(); begin <= at; ++begin) {
            const bool edge_before = begin == 0 || is_edge(begin - 1);
            if (edge_before && is_edge(begin + first_word.size()) && text.substr(begin).starts_with(first_word))
                return true;
        }
    }
    return false;
}

void scan_spoken_uris(const token_list& tokens, uri_list& uris) {
    constexpr unsigned most_words = 2; // between "www" and the domain
    struct spoken {
        std::size_t first;
        std::size_t domain;
    };
    std::vector<spoken> found;
    for (std::size_t first = 0; first < tokens.size(); ++first) {
        if (tokens[first] != u"www") continue;
        unsigned words = 0;
        for (auto i = first + 1; i < tokens.size() && words <= most_words && tokens[i] != u"www"; ++i) {
            if (is_top_level_domain(tokens[i])) found.push_back({first, i});
            if (tokens[i] != u"dot") ++words;
        }
    }
    // The last domain of the text comes first: which of two similar addresses stays depends on it.
    for (auto one = found.rbegin(); one != found.rend(); ++one)
        uris.add_beside(spoken_value(tokens, one->first, one->domain));
}

void drop_recipient_domain(const part& root, uri_list& uris) {
    if (uris.empty()) return;
    tackle::internet::message2::header_type::addresses_value_type to;
    bool is_readable = false;
    if_readable([&] {
        root.get_header("To", to);
        is_readable = true;
    });
    if (!is_readable || to.addresses().empty()) return;
    const string_view address = (*to.addresses().begin()).address;
    const auto domain = tackle::to_lower(address.substr(address.rfind('@') + 1));
    wstring value;
    if (reverse_domain(tackle::unicode::to_wide(domain, tackle::unicode::raw_code_page), value)) uris.erase(value);
}

namespace {

// Of a country whose other zones are handed out to anybody.
bool is_free_zone(wstring_view value) {
    static constexpr wstring_view ordinary[] = {u"cn.ac.", u"cn.com.", u"cn.edu.", u"cn.gov.", u"cn.net.", u"cn.org."};
    return value.starts_with(u"cn.") &&
           std::ranges::none_of(ordinary, [value](wstring_view zone) { return value.starts_with(zone); });
}

} // namespace

bool is_bulk_uri(wstring_view value) {
    return is_free_zone(value) ||
           std::ranges::any_of(deployment::bulk_hosts, [value](wstring_view host) { return value.starts_with(host); });
}

void check_bulk_uris(const signature_list& signatures, test_result_list& test_results) {
    bool found = false;
    for (const auto& record : signatures) {
        if (record.type != u"tru" || (record.matched && !record.ignored) || !is_bulk_uri(record.value)) continue;
        add(test_results, u"Part.Text.Unknown_Bulk_URI", found ? 0.0F : 40.0F, u"Unknown bulk URI: " + record.value);
        found = true;
    }
}

} // namespace brimwarden::analysis
