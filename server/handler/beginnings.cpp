#include "server/handler/beginnings.h"

#include <algorithm>

namespace brimwarden::server::handler {

namespace {

constexpr std::size_t most_pieces = 5; // labels and path segments together, as clients make them

bool is_address(std::string_view host) {
    return std::ranges::count(host, '.') == 3 && host.find_first_not_of("0123456789.") == host.npos;
}

// Two labels of a country are taken for such a zone if the second is as short as those of zones are: "uk.co",
// "au.com", "jp.ne". A few domains are as short; those are known by their longer hosts and paths.
bool is_open_zone(std::string_view host) {
    const std::size_t dot = host.find('.');
    return dot == 2 && host.find('.', dot + 1) == host.npos && host.size() - dot - 1 <= 3;
}

} // namespace

std::vector<link_beginning> beginnings_of(std::string_view value) {
    const std::string_view host = value.substr(0, value.find('/'));
    std::vector<std::size_t> ends; // of the pieces from the second label on
    if (!is_address(host)) {
        const std::size_t first = host.find('.');
        for (std::size_t dot = first; dot != host.npos;) {
            dot = host.find('.', dot + 1);
            if (dot != host.npos) ends.push_back(dot);
        }
    }
    ends.push_back(host.size());
    for (std::size_t slash = host.size(); slash < value.size();) {
        slash = std::min(value.find('/', slash + 1), value.size());
        ends.push_back(slash);
    }
    if (ends.size() > most_pieces) return {{value, host.size() < value.size()}};
    std::vector<link_beginning> all;
    for (const std::size_t end : ends) {
        const std::string_view text = value.substr(0, end);
        if (end < value.size() && is_open_zone(text)) continue;
        all.push_back({text, end > host.size()});
    }
    return all;
}

} // namespace brimwarden::server::handler
