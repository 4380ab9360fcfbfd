#pragma once

#include "message/header_type/generic_value_type.h"

#include <utility>

namespace tackle::internet::message2::header_type {

// A field that is one text: Subject, Message-ID, Content-Transfer-Encoding. Blanks at its end are dropped.
class unstructured_value_type : public generic_value_type {
public:
    unstructured_value_type() = default;
    explicit unstructured_value_type(string_view charset) : generic_value_type(charset) {}

    [[nodiscard]] string render() const override;
    void parse(string_view raw) override;
    // The same for a field that is likely unreadable: false where parse throws, save for std::bad_alloc. The value then
    // is what parse leaves.
    [[nodiscard]] bool try_parse(string_view raw);

    [[nodiscard]] virtual const wstring& value() const { return value_; }
    // The same for who needs it longer than this object, which has none then.
    [[nodiscard]] wstring take_value() { return std::exchange(value_, {}); }
    // Writes the value in the code page into `out` and returns that. Throws unicode::generic if it does not fit; `out`
    // is then left alone.
    virtual string& value_in(string& out, std::uint32_t code_page) const;
    virtual void set_value(wstring_view text);
    // Throws unicode::generic if the code page can't read the text.
    virtual void set_value(string_view text, std::uint32_t code_page);

protected:
    wstring value_;
};

} // namespace tackle::internet::message2::header_type
