#pragma once

#include "platform/posix/converters.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tackle::platform {

// A code page as tables alone; constant after construction.
class flat_page final {
public:
    // Fills the tables from the converter, once and for all. valid() is false if ICU does not have it.
    // Throws std::bad_alloc.
    explicit flat_page(const converter_row& row);

    [[nodiscard]] bool valid() const { return valid_; }
    // False if `strict` is set and some bytes mean nothing. Without it each byte of those becomes U+FFFD.
    [[nodiscard]] bool widen(std::string_view bytes, bool strict, std::u16string& out) const;
    // Tells whether the default character was needed.
    bool narrow(std::u16string_view units, std::string& out) const;

private:
    void load_single_bytes(const converter_row& row, void* converter);
    void load_double_bytes(void* converter);
    void load_way_back(void* converter);

    bool valid_ = false;
    bool has_pairs_ = false;
    bool lead_[256] = {};
    char16_t single_[256] = {};
    std::vector<char16_t> pairs_;   // [lead << 8 | trail]; empty for a single-byte page
    std::vector<std::uint16_t> to_; // [unit]: a byte, or lead << 8 | trail; 0 for none, except that of unit 0
    char default_ = '?';
};

// The tables of a code page, built by the first call for it; null if `row` has a converter that ICU lacks. Any thread.
[[nodiscard]] const flat_page* find_flat_page(const converter_row& row);

} // namespace tackle::platform
