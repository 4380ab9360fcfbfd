#include "message/header_type/parameter_reader.h"

#include <algorithm>

namespace tackle::internet::message2::header_type {

bool parameter_reader::next_value(string& value) { return tokens_.next(value); }

bool parameter_reader::next(string& name, string& value) {
    for (;;) {
        begin_ = tokens_.position();
        if (!tokens_.next(token_)) return false;
        token_reader pieces(token_, "=", false);
        if (!pieces.next(name)) continue;
        if (!pieces.next(value) || !pieces.next(more_)) return true;
    }
}

// At the end of the field the last byte may be a separator or within a quote; to keep it is right for both.
string_view parameter_reader::last_raw() const noexcept {
    const std::size_t end = tokens_.position();
    const string_view raw = raw_.substr(begin_, end - begin_ - (end < raw_.size() ? 1 : 0));
    return raw.substr(std::min(raw.find_first_not_of(' '), raw.size()));
}

} // namespace tackle::internet::message2::header_type
