#pragma once

#include "foundation/text/format.h"
#include "foundation/text/text.h"

#include <exception>

namespace tackle {

// Root of everything this library throws. Thrown by value, caught by reference; the classes differ by cause.
//
// Each module declares one `generic` and derives its causes from it. Each class has one constructor, which takes the
// message and adds the class's own word behind those of its bases:
//
//     class generic : public exception {
//     public:
//         explicit generic(const string& text) : exception(text) { append_code("unicode"); }
//     };
//     class invalid_codepage : public generic {
//     public:
//         explicit invalid_codepage(const string& text) : generic(text) { append_code("invalid_codepage"); }
//     };
//
// so that the code of the second is "unicode.invalid_codepage".
class exception : public std::exception {
public:
    explicit exception(const string& text);
    // The text by the rules of format; a single argument is a format, too.
    template <typename... arguments>
    explicit exception(const char* text, const arguments&... values) : exception(format(text, values...)) {}

    exception(const exception&) = default;
    exception& operator=(const exception&) = default;
    ~exception() override = default;

    // code, "[", message, "]". Built afresh by each call, good until the next one on the same object or its end; so two
    // threads must not ask one object at the same time.
    [[nodiscard]] const char* what() const noexcept override;
    // For people; as good as the object.
    [[nodiscard]] virtual const char* message() const noexcept;
    // Dotted, from the root of the family outward; empty for a plain tackle::exception.
    [[nodiscard]] virtual const char* code() const noexcept;

protected:
    // Adds a word to the code, behind a dot unless it is the first. For constructors of derived classes.
    void append_code(const char* word);

private:
    mutable string what_text_;
    string message_;
    string code_;
};

} // namespace tackle
