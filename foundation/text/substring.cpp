#include "foundation/text/substring.h"

namespace tackle {

namespace {

// Up to here the simple search costs at most this factor, and mostly runs at the speed of memchr.
constexpr std::size_t short_length = 16;

} // namespace

template <typename unit>
substring<unit>::substring(view wanted) : wanted_(wanted) {
    if (wanted.size() <= short_length) return;
    borders_.resize(wanted.size());
    std::size_t matched = 0;
    for (std::size_t i = 1; i < wanted.size(); ++i) {
        while (matched > 0 && wanted[i] != wanted[matched])
            matched = borders_[matched - 1];
        if (wanted[i] == wanted[matched]) ++matched;
        borders_[i] = matched;
    }
}

template <typename unit>
std::size_t substring<unit>::find_in(view text, std::size_t from) const noexcept {
    if (borders_.empty()) return text.find(wanted_, from);
    std::size_t matched = 0;
    for (std::size_t i = from; i < text.size(); ++i) {
        while (matched > 0 && text[i] != wanted_[matched])
            matched = borders_[matched - 1];
        if (text[i] == wanted_[matched]) ++matched;
        if (matched == wanted_.size()) return i + 1 - matched;
    }
    return view::npos;
}

template class substring<char>;
template class substring<char16_t>;

} // namespace tackle
