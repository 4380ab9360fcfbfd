#pragma once

#include "foundation/exception.h"
#include "foundation/text/text.h"

#include <cstdint>
#include <variant>

namespace tackle {

// A number, a float or a text that can be read back as any of the others. A value: copies share nothing.
class variant {
public:
    enum class kind_type : std::uint32_t { none, large, floating, text, wide };

    class generic : public exception {
    public:
        explicit generic(const string& message) : exception(message) { append_code("variant"); }
    };
    class type_mismatch : public generic {
    public:
        explicit type_mismatch(const string& message) : generic(message) { append_code("type_mismatch"); }
    };

    variant() = default; // none
    explicit variant(const string& text) : value_(text) {}
    explicit variant(const wstring& text) : value_(text) {}
    // A null pointer is the empty text.
    explicit variant(const char* text) : value_(text != nullptr ? string(text) : string()) {}
    explicit variant(const char16_t* text) : value_(text != nullptr ? wstring(text) : wstring()) {}
    // Named, since a plain 5 would fit either of them.
    [[nodiscard]] static variant of_large(std::uint64_t number) { return variant(storage(number)); }
    [[nodiscard]] static variant of_floating(float number) { return variant(storage(number)); }

    [[nodiscard]] kind_type kind() const noexcept { return static_cast<kind_type>(value_.index()); }

    // Numbers are true unless 0. A text is true if it is exactly "1": not "true", not "2", not "01".
    [[nodiscard]] bool as_boolean() const;
    // Texts are read as atoi does, under no locale: ASCII blanks, a sign, digits, and no further; none is 0. What is
    // out of range saturates at the ends of the signed type. A large gives its low bits, a float its whole part.
    [[nodiscard]] std::uint32_t as_integer() const;
    [[nodiscard]] std::uint64_t as_large() const;
    // A large counts as unsigned. Texts are read as scanf's "%f" reads decimal numbers, under no locale; an unreadable
    // one is 0.
    [[nodiscard]] float as_floating() const;
    // A large prints as signed, a float with six digits. A wide text comes through code page 0 and must fit into it,
    // and an 8-bit text becomes wide through it; throws what to_narrow and to_wide of unicode.h throw.
    [[nodiscard]] string as_string() const;
    [[nodiscard]] wstring as_wide() const;
    // In bytes.
    [[nodiscard]] std::uint64_t size() const;

    // Throws type_mismatch for different kinds. No strict order: none is less than none. Larges compare as unsigned.
    [[nodiscard]] bool operator<(const variant& other) const;

private:
    using storage = std::variant<std::monostate, std::uint64_t, float, string, wstring>;
    explicit variant(storage value) : value_(std::move(value)) {}

    // The members throw `generic`, and those that compare or measure type_mismatch, if an assignment that ran out of
    // memory has left no value here.
    storage value_;
};

} // namespace tackle
