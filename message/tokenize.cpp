#include "message/tokenize.h"

#include <algorithm>
#include <array>

namespace tackle::internet::message2 {
namespace {

// Bytes that may mean something outside quotes and encoded words; all others are taken in runs.
constexpr std::array<bool, 256> make_special() {
    std::array<bool, 256> special{};
    for (const unsigned char c : {'\\', '"', '?', ' ', ';', ',', '<', '>', '='})
        special[c] = true;
    return special;
}
constexpr std::array<bool, 256> special = make_special();

} // namespace

// From behind an opening quote to behind the closing one.
void token_reader::take_quoted(string& token) {
    const std::size_t close = std::min(raw_.find('"', position_), raw_.size());
    token.append(raw_, position_, close - position_);
    position_ = std::min(close + 1, raw_.size());
    if (keep_quotes_ && close < raw_.size()) token += '"';
}

// From behind the "=?" that opens an encoded word to behind a "?=". The question mark of the opening can serve as that
// of the closing: "=?=" is closed at once.
void token_reader::take_word(string& token) {
    while (position_ < raw_.size()) {
        const std::size_t equals = std::min(raw_.find('=', position_), raw_.size());
        token.append(raw_, position_, equals - position_);
        position_ = equals;
        if (equals == raw_.size()) return;
        const bool closed = token.back() == '?';
        token += '=';
        ++position_;
        if (closed) return;
    }
}

bool token_reader::next(string& token) {
    token.clear();
    while (position_ < raw_.size()) {
        const char c = raw_[position_++];
        if (!special[static_cast<unsigned char>(c)]) {
            const std::size_t first = position_ - 1;
            while (position_ < raw_.size() && !special[static_cast<unsigned char>(raw_[position_])])
                ++position_;
            token.append(raw_, first, position_ - first);
        } else if (c == '\\') {
            if (position_ < raw_.size()) token += raw_[position_++];
        } else if (c == '"') {
            if (keep_quotes_) token += c;
            take_quoted(token);
        } else if (c == '?' && !token.empty()) {
            const bool opens = token.back() == '=';
            token += c;
            if (opens) take_word(token);
        } else if (c == ' ' && token.empty()) {
            continue;
        } else if (delimiters_.find(c) != string_view::npos) {
            return true;
        } else {
            token += c;
        }
    }
    return !token.empty();
}

} // namespace tackle::internet::message2
