// The text that a client keeps from one run to the next: any bytes as its units, high ones if the first byte is odd.
// The engine is not running, so that no name in it is ever looked up.
#include "fuzz/support/expect.h"
#include "fuzz/support/input_reader.h"

#include <cstring>
#include <vector>

#include "include/brmx.h"

namespace {

using text = std::basic_string<brmx_char>;

std::vector<text> fields_of(const text& whole) {
    std::vector<text> fields(1);
    for (const auto unit : whole) {
        if (unit == u'\r')
            fields.emplace_back();
        else
            fields.back() += unit;
    }
    return fields;
}

bool read_digits(const text& digits, std::uint32_t& out) {
    constexpr std::u16string_view alphabet = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::uint64_t number = 0;
    for (const auto unit : digits) {
        const auto value = alphabet.find(unit);
        if (unit == u'=') continue;
        if (value == alphabet.npos) return false;
        number = number << 6 | value;
    }
    out = static_cast<std::uint32_t>(number);
    return true;
}

text get_state() {
    const brmx_char* state = nullptr;
    std::uint32_t length = 0;
    EXPECT(BRMX_Engine_GetState(&state, &length) == status_ok);
    return {state, length};
}

engine_status set_state(const text& state) {
    return BRMX_Engine_SetState(state.data(), static_cast<std::uint32_t>(state.size()));
}

// By the rules, slowly; what the count of sessions becomes as well.
engine_status expected_status(const text& state, std::uint32_t& sessions) {
    const auto fields = fields_of(state);
    std::uint32_t seconds = 0;
    if (fields.size() < 4 || fields[0] != u"1" || !read_digits(fields[1], sessions)) return status_failed;
    if (fields[2].empty()) return status_ok;
    return read_digits(fields[3], seconds) ? engine_not_initialized : status_failed;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_reader input(data, size);
    const bool wide = (input.byte() & 1) != 0;
    const auto bytes = input.rest();
    text given;
    if (wide) {
        given.resize(bytes.size() / 2);
        std::memcpy(given.data(), bytes.data(), given.size() * 2);
    } else {
        for (const char byte : bytes)
            given += static_cast<std::uint8_t>(byte);
    }
    static std::uint32_t sessions = 0;
    const auto expected = expected_status(given, sessions);
    EXPECT(set_state(given) == expected);

    const text kept = get_state();
    EXPECT(kept.starts_with(given)); // good or bad
    const text record = kept.substr(given.size());
    const auto fields = fields_of(record);
    std::uint32_t number = 0;
    EXPECT(fields.size() == 5 && fields[0] == u"1" && fields[4].empty());
    EXPECT(read_digits(fields[1], number) && number == sessions);
    EXPECT(set_state(record) == status_ok); // no group was ever set
    EXPECT(get_state() == record + record);
    return 0;
}
