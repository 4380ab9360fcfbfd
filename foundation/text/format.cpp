#include "foundation/text/format.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <climits>
#include <cmath>

namespace tackle::formatting {

namespace {

struct conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternative = false;
    bool zero = false;
    bool has_precision = false;
    std::size_t width = 0;
    std::size_t precision = 0;
    char letter = 0;
};

// Widths and precisions beyond this are cut: a larger number can only be a slip, and would end in bad_alloc anyway.
constexpr std::uint64_t largest_count = INT_MAX;

// A number before it is padded: sign or 0x, then digits. `zeros` go between the two.
struct number_text {
    std::string_view prefix;
    std::size_t zeros = 0;
    std::string_view digits;
};

template <typename unit>
class printer {
public:
    printer(std::basic_string<unit>& target, const argument<unit>* first, std::size_t count)
        : out(target), next(first), end(first + count) {}

    void print(const unit* fmt) {
        using traits = std::char_traits<unit>;
        const unit* const stop = fmt + traits::length(fmt);
        out.reserve(out.size() + static_cast<std::size_t>(stop - fmt) + 16 * static_cast<std::size_t>(end - next));
        while (fmt != stop) {
            const unit* percent = traits::find(fmt, static_cast<std::size_t>(stop - fmt), unit('%'));
            if (percent == nullptr) percent = stop;
            out.append(fmt, percent);
            if (percent == stop) return;
            conversion how;
            fmt = parse(percent + 1, how);
            if (how.letter == 0) {
                if (fmt != stop) ++fmt; // the unknown letter; nothing behind a cut off conversion
                out.append(percent, fmt);
            } else if (how.letter == '%') {
                out += unit('%');
            } else if (next != end) {
                convert(*next++, how);
            }
        }
    }

private:
    // Reads the conversion behind a percent sign and returns where the format goes on. Without a known letter
    // `how.letter` stays 0, and the result is where the letter should have stood.
    const unit* parse(const unit* at, conversion& how) {
        for (;; ++at) {
            if (*at == unit('-'))
                how.left = true;
            else if (*at == unit('+'))
                how.plus = true;
            else if (*at == unit(' '))
                how.blank = true;
            else if (*at == unit('#'))
                how.alternative = true;
            else if (*at == unit('0'))
                how.zero = true;
            else
                break;
        }
        bool negative = false;
        at = parse_count(at, how.width, negative);
        how.left |= negative;
        if (*at == unit('.')) {
            negative = false;
            at = parse_count(at + 1, how.precision, negative);
            how.has_precision = !negative;
        }
        at = skip_length(at);
        constexpr std::string_view letters = "diuoxXfFeEgGcsp%";
        const auto found = *at != 0 && *at < 128 ? letters.find(static_cast<char>(*at)) : letters.npos;
        if (found == letters.npos) return at;
        how.letter = letters[found];
        return at + 1;
    }

    const unit* parse_count(const unit* at, std::size_t& count, bool& negative) {
        std::uint64_t value = 0;
        if (*at == unit('*')) {
            if (next != end) {
                const std::int64_t given = as_signed(*next++);
                negative = given < 0;
                value = negative ? 0 - static_cast<std::uint64_t>(given) : static_cast<std::uint64_t>(given);
            }
            ++at;
        } else {
            for (; *at >= unit('0') && *at <= unit('9'); ++at)
                value =
                    std::min<std::uint64_t>(value * 10 + static_cast<std::uint64_t>(*at - unit('0')), largest_count);
        }
        count = static_cast<std::size_t>(std::min(value, largest_count));
        return at;
    }

    static const unit* skip_length(const unit* at) {
        constexpr std::string_view modifiers = "hlLqwzjt";
        while (*at != 0 && *at < 128 && modifiers.find(static_cast<char>(*at)) != modifiers.npos)
            ++at;
        if (*at == unit('I')) {
            ++at;
            if ((at[0] == unit('6') && at[1] == unit('4')) || (at[0] == unit('3') && at[1] == unit('2'))) at += 2;
        }
        return at;
    }

    void convert(const argument<unit>& value, const conversion& how) {
        const bool is_text = value.kind == argument_kind::text || value.kind == argument_kind::terminated_text;
        switch (how.letter) {
        case 'p':
            return print_address(value, how);
        case 's':
            return is_text ? print_text(value, how) : print_plain(value, how);
        default:
            break;
        }
        if (is_text) return print_text(value, how);
        switch (how.letter) {
        case 'c':
            return print_unit(static_cast<unit>(as_unsigned(value)), how);
        case 'd':
        case 'i':
            return print_signed(as_signed(value), how);
        case 'u':
            return print_unsigned(as_unsigned(value), 10, how);
        case 'o':
            return print_unsigned(as_unsigned(value), 8, how);
        case 'x':
        case 'X':
            return print_unsigned(as_unsigned(value), 16, how);
        default:
            return print_floating(as_floating(value), how);
        }
    }

    static std::int64_t as_signed(const argument<unit>& value) {
        if (value.kind == argument_kind::floating) {
            if (std::isnan(value.floating)) return 0;
            if (value.floating >= 0x1p63) return INT64_MAX;
            if (value.floating < -0x1p63) return INT64_MIN;
            return static_cast<std::int64_t>(value.floating);
        }
        const std::uint64_t raw = as_unsigned(value);
        return value.narrow ? static_cast<std::int32_t>(raw) : static_cast<std::int64_t>(raw);
    }

    static std::uint64_t as_unsigned(const argument<unit>& value) {
        switch (value.kind) {
        case argument_kind::signed_integer:
        case argument_kind::unsigned_integer:
            return value.narrow ? static_cast<std::uint32_t>(value.integer) : value.integer;
        case argument_kind::floating:
            return static_cast<std::uint64_t>(as_signed(value));
        default:
            return address_of(value);
        }
    }

    static double as_floating(const argument<unit>& value) {
        switch (value.kind) {
        case argument_kind::floating:
            return value.floating;
        case argument_kind::signed_integer:
            return static_cast<double>(as_signed(value));
        default:
            return static_cast<double>(as_unsigned(value));
        }
    }

    static std::uint64_t address_of(const argument<unit>& value) {
        switch (value.kind) {
        case argument_kind::address:
            return std::bit_cast<std::uintptr_t>(value.address);
        case argument_kind::text:
        case argument_kind::terminated_text:
            return std::bit_cast<std::uintptr_t>(value.text);
        default:
            return as_unsigned(value);
        }
    }

    void print_text(const argument<unit>& value, const conversion& how) {
        using traits = std::char_traits<unit>;
        static constexpr unit null_text[] = {'(', 'n', 'u', 'l', 'l', ')'};
        const unit* text = value.text;
        std::size_t length = value.length;
        if (value.kind == argument_kind::terminated_text) {
            if (text == nullptr) {
                text = null_text;
                length = std::size(null_text);
            } else if (how.has_precision) {
                length = 0;
                while (length < how.precision && text[length] != 0)
                    ++length;
            } else {
                length = traits::length(text);
            }
        }
        if (how.has_precision) length = std::min(length, how.precision);
        const std::size_t padding = how.width > length ? how.width - length : 0;
        if (!how.left) out.append(padding, unit(' '));
        out.append(text, length);
        if (how.left) out.append(padding, unit(' '));
    }

    void print_unit(unit value, const conversion& how) {
        const std::size_t padding = how.width > 1 ? how.width - 1 : 0;
        if (!how.left) out.append(padding, unit(' '));
        out += value;
        if (how.left) out.append(padding, unit(' '));
    }

    // A value that is no text, under %s. A precision would mean something else to it, so it does not count.
    void print_plain(const argument<unit>& value, conversion how) {
        how.has_precision = false;
        switch (value.kind) {
        case argument_kind::signed_integer:
            return print_signed(as_signed(value), how);
        case argument_kind::unsigned_integer:
            return print_unsigned(as_unsigned(value), 10, how);
        case argument_kind::floating:
            how.letter = 'f';
            return print_floating(value.floating, how);
        default:
            return print_address(value, how);
        }
    }

    void print_address(const argument<unit>& value, conversion how) {
        char digits[16];
        const auto done = std::to_chars(digits, std::end(digits), address_of(value), 16);
        how.zero = false;
        append({"0x", 0, {digits, done.ptr}}, how);
    }

    static std::string_view sign(bool negative, const conversion& how) {
        return negative ? "-" : how.plus ? "+" : how.blank ? " " : "";
    }

    void print_signed(std::int64_t value, const conversion& how) {
        const std::uint64_t size =
            value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
        print_integer(sign(value < 0, how), size, 10, how);
    }

    void print_unsigned(std::uint64_t value, int base, const conversion& how) {
        std::string_view prefix;
        if (how.alternative && base == 16 && value != 0) prefix = how.letter == 'X' ? "0X" : "0x";
        print_integer(prefix, value, base, how);
    }

    void print_integer(std::string_view prefix, std::uint64_t value, int base, conversion how) {
        char digits[24];
        const auto done = std::to_chars(digits, std::end(digits), value, base);
        if (how.letter == 'X') to_upper(digits, done.ptr);
        number_text text{prefix, 0, {digits, done.ptr}};
        if (how.has_precision) {
            how.zero = false;
            if (how.precision == 0 && value == 0) text.digits = {};
            if (how.precision > text.digits.size()) text.zeros = how.precision - text.digits.size();
        }
        if (base == 8 && how.alternative && text.zeros == 0 && !text.digits.starts_with('0')) text.zeros = 1;
        append(text, how);
    }

    void print_floating(double value, conversion how) {
        if (!how.has_precision) how.precision = 6;
        const std::string_view prefix = sign(std::signbit(value), how);
        value = std::abs(value);
        if (!std::isfinite(value)) {
            how.zero = false;
            const bool large = how.letter >= 'A' && how.letter <= 'Z';
            return append({prefix, 0, std::isnan(value) ? (large ? "NAN" : "nan") : (large ? "INF" : "inf")}, how);
        }
        // 309 digits before the point and an exponent at most, whatever the precision.
        const std::size_t room = how.precision + 330;
        char nearby[400];
        std::string far;
        char* digits = nearby;
        if (room > sizeof nearby) {
            far.resize(room);
            digits = far.data();
        }
        char* const stop = write_floating(digits, digits + room, value, how);
        append({prefix, 0, {digits, stop}}, how);
    }

    static char* write_floating(char* digits, char* room_end, double value, const conversion& how) {
        const bool large = how.letter >= 'A' && how.letter <= 'Z';
        const char letter = large ? static_cast<char>(how.letter + 32) : how.letter;
        const auto precision = static_cast<int>(how.precision);
        char* stop = nullptr;
        if (letter == 'f') {
            stop = std::to_chars(digits, room_end, value, std::chars_format::fixed, precision).ptr;
        } else if (letter == 'e') {
            stop = std::to_chars(digits, room_end, value, std::chars_format::scientific, precision).ptr;
        } else if (!how.alternative) {
            stop = std::to_chars(digits, room_end, value, std::chars_format::general, precision).ptr;
        } else {
            stop = write_general_with_zeros(digits, room_end, value, std::max(precision, 1));
        }
        if (how.alternative && std::find(digits, stop, '.') == stop) {
            char* const exponent = std::find(digits, stop, 'e');
            std::copy_backward(exponent, stop, stop + 1);
            *exponent = '.';
            ++stop;
        }
        if (large) to_upper(digits, stop);
        return stop;
    }

    // %#g: the zeros at the end stay, which to_chars never leaves. The exponent after rounding decides the form.
    static char* write_general_with_zeros(char* digits, char* room_end, double value, int precision) {
        char* const stop = std::to_chars(digits, room_end, value, std::chars_format::scientific, precision - 1).ptr;
        const char* power = std::find(digits, stop, 'e') + 1;
        if (*power == '+') ++power;
        int exponent = 0;
        std::from_chars(power, stop, exponent);
        if (exponent < -4 || exponent >= precision) return stop;
        return std::to_chars(digits, room_end, value, std::chars_format::fixed, precision - 1 - exponent).ptr;
    }

    static void to_upper(char* first, char* last) {
        for (; first != last; ++first)
            if (*first >= 'a' && *first <= 'z') *first = static_cast<char>(*first - 32);
    }

    void append(const number_text& text, const conversion& how) {
        const std::size_t length = text.prefix.size() + text.zeros + text.digits.size();
        const std::size_t padding = how.width > length ? how.width - length : 0;
        const bool zeros = how.zero && !how.left;
        if (!how.left && !zeros) out.append(padding, unit(' '));
        out.append(text.prefix.begin(), text.prefix.end());
        out.append(text.zeros + (zeros ? padding : 0), unit('0'));
        out.append(text.digits.begin(), text.digits.end());
        if (how.left) out.append(padding, unit(' '));
    }

    std::basic_string<unit>& out;
    const argument<unit>* next;
    const argument<unit>* const end;
};

} // namespace

void print(string& out, const char* fmt, const argument<char>* arguments, std::size_t count) {
    printer<char>(out, arguments, count).print(fmt);
}

void print(wstring& out, const char16_t* fmt, const argument<char16_t>* arguments, std::size_t count) {
    printer<char16_t>(out, arguments, count).print(fmt);
}

} // namespace tackle::formatting
