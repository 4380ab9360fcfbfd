#include "message/header_type/addresses_value_type.h"

#include "foundation/text/unicode.h"
#include "message/tokenize.h"

#include <algorithm>
#include <optional>

namespace tackle::internet::message2::header_type {
namespace {

constexpr auto is_byte = [](char16_t unit) { return unit <= 0xFF; };

} // namespace

string addresses_value_type::render() const {
    string out;
    for (const address_entry entry : addresses_) {
        if (!out.empty()) out += ", ";
        if (!entry.display_name.empty()) {
            out += '"';
            out += encode_word(entry.display_name);
            out += "\" ";
        }
        out += '<';
        out += entry.address;
        out += '>';
    }
    return out;
}

void addresses_value_type::parse(string_view raw) {
    addresses_.clear();
    // Almost every address is plain, and then needs no text between.
    const auto plain_address = [this](string_view text) {
        return is_plain(text) ? std::optional(text.substr(0, text.find_last_not_of(' ') + 1)) : std::nullopt;
    };
    const auto decode_address = [&](string_view text) {
        if (const auto plain = plain_address(text)) return string(*plain);
        return unicode::to_narrow(decode_words(text, last_blanks::drop), unicode::raw_code_page, true);
    };
    // A damaged "Q" word raises all the same.
    const auto try_decode = [this](string_view text, last_blanks blanks, wstring& out) {
        out.clear();
        return decode_words(text, blanks, out, unreadable::fails_by_charset);
    };
    wstring wide;
    const auto try_decode_address = [&](string_view text, string& address) {
        if (const auto plain = plain_address(text)) {
            address = *plain;
            return true;
        }
        if (!try_decode(text, last_blanks::drop, wide) || !std::ranges::all_of(wide, is_byte)) return false;
        address.assign(wide.begin(), wide.end());
        return true;
    };
    token_reader tokens(raw, ";,", true);
    string token;
    token.reserve(raw.size()); // most fields are one token
    string first;
    string second;
    string more;
    wstring name;
    string address;
    while (tokens.next(token)) {
        token_reader pieces(token, "<>", false);
        if (!pieces.next(first)) continue;
        if (!pieces.next(second)) {
            addresses_.add(decode_address(first), {});
            continue;
        }
        if (pieces.next(more)) continue;
        // The name with the blank before "<".
        if (!try_decode(first, last_blanks::keep, name) || !try_decode_address(second, address)) {
            set_charset("iso-8859-1");
            name.clear();
            address = decode_address(second);
        }
        addresses_.add(address, name);
    }
}

} // namespace tackle::internet::message2::header_type
