#pragma once

#include "message/header_type/generic_value_type.h"
#include "message/text_pairs.h"

namespace tackle::internet::message2::header_type {

struct address_entry {
    string_view address;
    wstring_view display_name; // empty if there is none; with the blank before "<" that it usually has
};
using address_list = text_pairs<address_entry, char, char16_t>;

// A list of addresses: From, To, CC. A semicolon separates like a comma, groups are not known. "name <address>" has a
// display name; an entry with any other use of angle brackets is left out.
//
// A display name or address that can't be read costs the entry its name, and its address is then read as iso-8859-1,
// which stays the charset. An address that can't be read even so, or one without name, makes parse throw
// unicode::generic; the entries before it are kept.
class addresses_value_type : public generic_value_type {
public:
    addresses_value_type() = default;
    explicit addresses_value_type(string_view charset) : generic_value_type(charset) {}

    [[nodiscard]] string render() const override;
    void parse(string_view raw) override;

    // In the order of the value; good until the object is changed.
    [[nodiscard]] const address_list& addresses() const noexcept { return addresses_; }
    void add_address(string_view address, wstring_view display_name) { addresses_.add(address, display_name); }

private:
    address_list addresses_;
};

} // namespace tackle::internet::message2::header_type
