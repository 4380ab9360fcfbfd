#pragma once

#include "message/tokenize.h"

namespace tackle::internet::message2::header_type {

// Gives the value and the parameters of a raw field one by one, undecoded. The raw value has to outlive the reader.
class parameter_reader {
public:
    explicit parameter_reader(string_view raw) noexcept : raw_(raw), tokens_(raw, ";,", true) {}

    // The value, with its quotes; to be asked for once, before the parameters. False if the field is empty.
    bool next_value(string& value);
    // A parameter without equals sign has an empty value, one of several is passed over. False if there are no more.
    bool next(string& name, string& value);
    // What stood in the field for the parameter that was given last, without the separators around it. Only in the last
    // one of a field can a quote or an encoded word be open.
    [[nodiscard]] string_view last_raw() const noexcept;

private:
    string_view raw_;
    token_reader tokens_;
    std::size_t begin_ = 0; // of the last parameter
    string token_;
    string more_;
};

} // namespace tackle::internet::message2::header_type
