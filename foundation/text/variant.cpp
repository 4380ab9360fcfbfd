#include "foundation/text/variant.h"

#include "foundation/text/leading_number.h"
#include "foundation/text/unicode.h"

#include <algorithm>
#include <charconv>

namespace tackle {

namespace {

// Toward zero. From 2^63 on the top bit is added by hand; what fits no 64 bits at all gives the processor's answer for
// that, which is 2^63 and, with the top bit added, 0.
std::uint64_t whole_part(float value) {
    constexpr std::uint64_t top_bit = std::uint64_t{1} << 63;
    const bool large = value >= 0x1p63F;
    if (large) value -= 0x1p63F;
    const bool fits = value >= -0x1p63F && value < 0x1p63F;
    const std::uint64_t whole = fits ? static_cast<std::uint64_t>(static_cast<std::int64_t>(value)) : top_bit;
    return large ? whole + top_bit : whole;
}

bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Whether a decimal number that no float can hold is too large, and not too small: by the place of its first digit
// that counts, moved by its exponent.
bool is_too_large(const char* text, const char* end) {
    std::int64_t place = 0;
    bool behind_point = false;
    bool counting = false;
    for (; text != end && (is_digit(*text) || *text == '.'); ++text) {
        if (*text == '.') {
            behind_point = true;
        } else {
            counting = counting || *text != '0';
            if (counting && !behind_point) ++place;
            if (!counting && behind_point) --place;
        }
    }
    if (text == end) return place > 0;
    const std::string_view exponent(text + 1, static_cast<std::size_t>(end - text - 1));
    return place + leading_number<std::int32_t>(exponent) > 0;
}

// As scanf's "%f" for decimal numbers. Returns 0 for what is no number.
float leading_float(string_view text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end && is_blank(*at))
        ++at;
    bool negative = false;
    if (at != end && (*at == '+' || *at == '-')) negative = *at++ == '-';
    if (at != end && *at == '-') return 0; // the sign that from_chars knows itself would be a second one
    float value = 0;
    const auto read = std::from_chars(at, end, value);
    if (read.ec == std::errc::result_out_of_range)
        value = is_too_large(at, read.ptr) ? std::numeric_limits<float>::infinity() : 0.0F;
    return negative ? -value : value;
}

// A wide number text for the 8-bit reader; what is not ASCII ends a number in any case.
string ascii_beginning(wstring_view text) {
    const auto end = std::ranges::find_if(text, [](char16_t c) { return c >= 128; });
    string result(static_cast<std::size_t>(end - text.begin()), '\0');
    std::transform(text.begin(), end, result.begin(), [](char16_t c) { return static_cast<char>(c); });
    return result;
}

} // namespace

bool variant::as_boolean() const {
    switch (kind()) {
    case kind_type::none:
        return false;
    case kind_type::large:
        return std::get<std::uint64_t>(value_) != 0;
    case kind_type::floating:
        return std::get<float>(value_) != 0.0F;
    case kind_type::text:
        return std::get<string>(value_) == "1";
    case kind_type::wide:
        return std::get<wstring>(value_) == u"1";
    default:
        throw generic("as_boolean() failed");
    }
}

std::uint32_t variant::as_integer() const {
    switch (kind()) {
    case kind_type::none:
        return 0;
    case kind_type::large:
        return static_cast<std::uint32_t>(std::get<std::uint64_t>(value_));
    case kind_type::floating:
        return static_cast<std::uint32_t>(whole_part(std::get<float>(value_)));
    case kind_type::text:
        return static_cast<std::uint32_t>(leading_number<std::int32_t>(string_view(std::get<string>(value_))));
    case kind_type::wide:
        return static_cast<std::uint32_t>(leading_number<std::int32_t>(wstring_view(std::get<wstring>(value_))));
    default:
        throw generic("as_integer() failed");
    }
}

std::uint64_t variant::as_large() const {
    switch (kind()) {
    case kind_type::none:
        return 0;
    case kind_type::large:
        return std::get<std::uint64_t>(value_);
    case kind_type::floating:
        return whole_part(std::get<float>(value_));
    case kind_type::text:
        return static_cast<std::uint64_t>(leading_number<std::int64_t>(string_view(std::get<string>(value_))));
    case kind_type::wide:
        return static_cast<std::uint64_t>(leading_number<std::int64_t>(wstring_view(std::get<wstring>(value_))));
    default:
        throw generic("as_large() failed");
    }
}

float variant::as_floating() const {
    switch (kind()) {
    case kind_type::none:
        return 0;
    case kind_type::large:
        return static_cast<float>(std::get<std::uint64_t>(value_));
    case kind_type::floating:
        return std::get<float>(value_);
    case kind_type::text:
        return leading_float(std::get<string>(value_));
    case kind_type::wide:
        return leading_float(ascii_beginning(std::get<wstring>(value_)));
    default:
        throw generic("as_floating() failed");
    }
}

string variant::as_string() const {
    switch (kind()) {
    case kind_type::none:
        return {};
    case kind_type::large:
        return format("%I64d", std::get<std::uint64_t>(value_));
    case kind_type::floating:
        return format("%f", std::get<float>(value_));
    case kind_type::text:
        return std::get<string>(value_);
    case kind_type::wide:
        return unicode::to_narrow(std::get<wstring>(value_), 0, true);
    default:
        throw generic("as_string() failed");
    }
}

wstring variant::as_wide() const {
    if (kind() == kind_type::wide) return std::get<wstring>(value_);
    return unicode::to_wide(as_string(), 0);
}

std::uint64_t variant::size() const {
    switch (kind()) {
    case kind_type::none:
        return 0;
    case kind_type::large:
        return sizeof(std::uint64_t);
    case kind_type::floating:
        return sizeof(float);
    case kind_type::text:
        return std::get<string>(value_).size();
    case kind_type::wide:
        return std::get<wstring>(value_).size() * sizeof(char16_t);
    default:
        throw type_mismatch("size() failed");
    }
}

bool variant::operator<(const variant& other) const {
    if (kind() != other.kind()) throw type_mismatch("operator <() failed");
    switch (kind()) {
    case kind_type::none:
        return true; // also against itself; callers have come to rely on it
    case kind_type::large:
    case kind_type::floating:
    case kind_type::text:
    case kind_type::wide:
        return value_ < other.value_;
    default:
        throw type_mismatch("operator <() failed");
    }
}

} // namespace tackle
