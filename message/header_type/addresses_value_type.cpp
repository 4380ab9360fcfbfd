#include "message/header_type/addresses_value_type.h"

#include "foundation/unicode.h"
#include "message/tokenize.h"

namespace tackle::internet::message2::header_type {

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
    const auto decode_address = [this](string_view text) {
        return unicode::to_narrow(decode_words(text, last_blanks::drop), unicode::raw_code_page, true);
    };
    token_reader tokens(raw, ";,", true);
    string token;
    string first;
    string second;
    string more;
    while (tokens.next(token)) {
        token_reader pieces(token, "<>", false);
        if (!pieces.next(first)) continue;
        if (!pieces.next(second)) {
            addresses_.add(decode_address(first), {});
            continue;
        }
        if (pieces.next(more)) continue;
        wstring name;
        string address;
        try {
            name = decode_words(first, last_blanks::keep); // with the blank before "<"
            address = decode_address(second);
        } catch (const unicode::generic&) {
            set_charset("iso-8859-1");
            name.clear();
            address = decode_address(second);
        }
        addresses_.add(address, name);
    }
}

} // namespace tackle::internet::message2::header_type
