#pragma once

#include "foundation/exception.h"
#include "foundation/text/text.h"

namespace tackle {

// The exception for 16-bit text. The 8-bit forms are made from the 16-bit ones when one of them is asked for the first
// time, in code page 0 and not strictly, and stay as they are from then on; the 16-bit forms never look at them.
// Two threads must not ask one object at the same time.
class exception_w : public exception {
public:
    explicit exception_w(const wstring& text);
    // The text by the rules of format; a single argument is a format, too.
    template <typename... arguments>
    explicit exception_w(const char16_t* text, const arguments&... values) : exception_w(format(text, values...)) {}

    exception_w(const exception_w&) = default;
    exception_w& operator=(const exception_w&) = default;
    ~exception_w() override = default;

    [[nodiscard]] const char* message() const noexcept override;
    [[nodiscard]] const char* code() const noexcept override;

    // code, "[", message, "]". Built afresh by each call, good until the next one on the same object or its end.
    [[nodiscard]] virtual const char16_t* what_w() const noexcept;
    [[nodiscard]] virtual const char16_t* message_w() const noexcept;
    [[nodiscard]] virtual const char16_t* code_w() const noexcept;

protected:
    // Adds a word to the code, behind a dot unless it is the first. For constructors of derived classes.
    void append_code_w(const char16_t* word);

private:
    void make_narrow() const noexcept;

    mutable wstring what_text_w_;
    wstring message_w_;
    wstring code_w_;
    mutable bool narrowed_ = false;
    mutable string narrow_message_;
    mutable string narrow_code_;
};

} // namespace tackle
