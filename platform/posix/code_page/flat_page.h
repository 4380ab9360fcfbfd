#pragma once

#include "platform/posix/code_page/converters.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace tackle::platform {

// A code page as tables alone. Any thread.
class flat_page final {
public:
    // Fills the tables from the converter, once and for all. valid() is false if ICU does not have it. Keeps a
    // reference to `row`. Throws std::bad_alloc.
    explicit flat_page(const converter_row& row);

    [[nodiscard]] bool valid() const { return valid_; }
    // False if `strict` is set and some bytes mean nothing. Without it each byte of those becomes U+FFFD.
    [[nodiscard]] bool widen(std::string_view bytes, bool strict, std::u16string& out) const;
    // Tells whether the default character was needed. The first call fills the tables for it, which takes 65536
    // conversions and is not done for a page that is only read. Throws std::bad_alloc.
    bool narrow(std::u16string_view units, std::string& out) const;

private:
    void load_single_bytes(void* converter);
    void load_double_bytes(void* converter);
    void load_code_runs();
    void load_way_back() const;
    void load_converter_way_back() const;
    void load_look_alikes() const;

    const converter_row& row_;

    bool valid_ = false;
    bool has_pairs_ = false;
    bool keeps_ascii_ = false; // each byte below 0x80 is the unit of the same value
    bool lead_[256] = {};
    char16_t single_[256] = {};
    std::vector<char16_t> pairs_; // [lead << 8 | trail]; empty for a single-byte page

    mutable std::once_flag way_back_loaded_;
    mutable std::vector<std::uint16_t> to_; // [unit]: a byte, or lead << 8 | trail; 0 for none, except that of unit 0
    mutable char default_ = '?';
};

// The tables of a code page, built by the first call for it; null if `row` has a converter that ICU lacks. Any thread.
[[nodiscard]] const flat_page* find_flat_page(const converter_row& row);

} // namespace tackle::platform
