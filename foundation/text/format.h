#pragma once

#include "foundation/text/text.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

// printf for typed arguments, the same in both widths, on both targets and under every locale.
//
//     format("%-6.2f %s -- %08x", value, name, code)          string
//     format(u"Token: \"%s\"", token)                         wstring
//
// A conversion is %[flags][width][.precision][length]letter:
//   flags      any of - + blank # 0
//   width, precision  a number or *, which takes an integer argument; both count units of the format's own width.
//              A negative * width means "-" and its positive value, a negative * precision means none.
//   length     h hh l ll L q w z j t I I32 I64 are accepted and mean nothing: the type of the argument says it all
//   d i        integer as signed; u o x X as unsigned, both in the size of the argument's own type, and types smaller
//              than int widen to int first. So %X of int -1 is FFFFFFFF, of signed char -128 FFFFFF80, and
//              %i of the largest 64-bit unsigned is -1.
//   f F e E g G  floating point, correctly rounded; infinity and not-a-number as "inf" and "nan"
//   c          one unit
//   s          text of the format's own width: string, view, array or terminated pointer (a null pointer prints
//              "(null)"); of a terminated text no more than `precision` units are read. Text of the other width does
//              not compile.
//   p          0x and the address in lower-case hexadecimal, without leading zeros
//   %          a percent sign
// Nothing is undefined and nothing raises, except std::bad_alloc. Arguments that do not fit their conversion print so:
//   an integer under f e g is converted, a floating value under an integer letter is truncated and saturates at 64 bits
//   a number or an address under s prints in its plain form (%d or %u, %f, %p)
//   text under any letter but s and p prints as under s, and under p as its address
//   a missing argument prints nothing, one too many is ignored
//   an unknown or cut off conversion prints as it stands and takes no argument of its own
// The result has no upper bound of length.
namespace tackle {

namespace formatting {

enum class argument_kind : std::uint8_t { signed_integer, unsigned_integer, floating, text, terminated_text, address };

// One argument without its type. Points into the caller's argument, so it lives no longer than the call.
template <typename unit>
struct argument {
    argument_kind kind = argument_kind::address;
    bool narrow = false; // an integer of at most 32 bits
    union {
        std::uint64_t integer; // signed ones are sign-extended
        double floating;
        const void* address;
        const unit* text;
    };
    std::size_t length = 0; // of kind text, in units

    template <typename type>
    explicit argument(const type& value) {
        using plain = std::decay_t<type>;
        if constexpr (std::is_enum_v<plain>) {
            set_integer(static_cast<std::underlying_type_t<plain>>(value));
        } else if constexpr (std::is_integral_v<plain>) {
            set_integer(value);
        } else if constexpr (std::is_floating_point_v<plain>) {
            kind = argument_kind::floating;
            floating = static_cast<double>(value);
        } else if constexpr (std::is_same_v<plain, const unit*> || std::is_same_v<plain, unit*>) {
            kind = argument_kind::terminated_text; // not measured here: a precision may stop before the end
            text = value;
        } else if constexpr (std::is_null_pointer_v<plain>) {
            address = nullptr; // would pass for a view below, too
        } else if constexpr (std::is_convertible_v<const type&, std::basic_string_view<unit>>) {
            const std::basic_string_view<unit> view = value;
            kind = argument_kind::text;
            text = view.data();
            length = view.size();
        } else {
            using pointed = std::remove_cv_t<std::remove_pointer_t<plain>>;
            static_assert(std::is_pointer_v<plain>,
                          "format takes numbers, pointers, and text of the format's own width");
            static_assert(!std::is_same_v<pointed, char> && !std::is_same_v<pointed, char16_t> &&
                              !std::is_same_v<pointed, wchar_t>,
                          "text has to be of the format's own width; cast to const void* for %p");
            address = value;
        }
    }

private:
    template <typename type>
    void set_integer(type value) {
        using wide = decltype(+value); // types smaller than int widen to int
        const wide widened = value;
        kind = std::is_signed_v<wide> ? argument_kind::signed_integer : argument_kind::unsigned_integer;
        narrow = sizeof(wide) <= 4;
        integer = static_cast<std::uint64_t>(widened);
    }
};

void print(string& out, const char* fmt, const argument<char>* arguments, std::size_t count);
void print(wstring& out, const char16_t* fmt, const argument<char16_t>* arguments, std::size_t count);

template <typename unit, typename... types>
void print_all(std::basic_string<unit>& out, const unit* fmt, const types&... values) {
    if constexpr (sizeof...(values) == 0) {
        print(out, fmt, nullptr, 0);
    } else {
        const argument<unit> arguments[] = {argument<unit>(values)...};
        print(out, fmt, arguments, sizeof...(values));
    }
}

} // namespace formatting

// The format is a plain pointer and no view on purpose: so these win over std::format, which the standard's string
// types bring along wherever they are arguments.
template <typename... types>
[[nodiscard]] string format(const char* fmt, const types&... values) {
    string out;
    formatting::print_all(out, fmt, values...);
    return out;
}

template <typename... types>
[[nodiscard]] wstring format(const char16_t* fmt, const types&... values) {
    wstring out;
    formatting::print_all(out, fmt, values...);
    return out;
}

// The same, appended to `out`. No argument may be a view of `out`.
template <typename... types>
void append_format(string& out, const char* fmt, const types&... values) {
    formatting::print_all(out, fmt, values...);
}

template <typename... types>
void append_format(wstring& out, const char16_t* fmt, const types&... values) {
    formatting::print_all(out, fmt, values...);
}

} // namespace tackle
