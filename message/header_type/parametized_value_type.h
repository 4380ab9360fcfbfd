#pragma once

#include "message/header_type/unstructured_value_type.h"
#include "message/text_pairs.h"

namespace tackle::internet::message2::header_type {

struct parameter {
    string_view name;
    wstring_view value;
};
using parameter_list = text_pairs<parameter, char, char16_t>;

// A value with parameters behind it: Content-Type, Content-Disposition. A comma separates them exactly as a semicolon
// does, both only outside quotes and encoded words. Continued and extended parameters are not known, "filename*" is a
// name like any other. A parameter of more than one equals sign is dropped, one of none has an empty value.
//
// The value keeps blanks before its separator; parameters drop those at their end.
class parametized_value_type : public unstructured_value_type {
public:
    parametized_value_type() = default;
    explicit parametized_value_type(string_view charset) : unstructured_value_type(charset) {}

    [[nodiscard]] string render() const override;
    void parse(string_view raw) override;
    // Reading fails per parameter: one that can't be read is left out, whatever it is called, and the others are kept.
    // Otherwise one parameter that nobody asks for could take a file its name. False if the value itself can't be read;
    // it is then empty. Throws nothing but std::bad_alloc.
    bool parse_readable(string_view raw);

    // In the order of the value, duplicates too; good until the object is changed.
    [[nodiscard]] const parameter_list& parameters() const noexcept { return parameters_; }

    // The first of that name, case ignored. False if there is none; `out` is then left alone.
    bool get_parameter(string_view name, wstring& out) const;
    // The same in UTF-8. Throws unicode::generic.
    bool get_parameter(string_view name, string& out) const;
    // Sets the first of that name, else appends; 8-bit text is UTF-8.
    void set_parameter(string_view name, wstring_view value);
    void set_parameter(string_view name, string_view value);
    // Appends without looking.
    void add_parameter(string_view name, wstring_view value);
    void add_parameter(string_view name, string_view value, std::uint32_t code_page);
    // Removes the first of that name only.
    void remove_parameter(string_view name);

private:
    bool read(string_view raw, unreadable how);

    parameter_list parameters_;
};

} // namespace tackle::internet::message2::header_type
