#pragma once

#include "foundation/text/text.h"

#include <charconv>
#include <memory>

// Bytes for tests.
namespace brimwarden::analysis::community {

// "52 56 4E" as bytes.
inline tackle::string unhex(tackle::string_view digits) {
    tackle::string out;
    for (std::size_t i = 0; i + 1 < digits.size();) {
        if (digits[i] == ' ' || digits[i] == '\n') {
            ++i;
            continue;
        }
        int value = 0;
        std::from_chars(digits.data() + i, digits.data() + i + 2, value, 16);
        out.push_back(static_cast<char>(value));
        i += 2;
    }
    return out;
}

// A copy of just the size, without a terminator, so that the sanitizer sees a read behind the end.
class exact_copy {
public:
    explicit exact_copy(tackle::string_view bytes) : size_(bytes.size()), bytes_(new char[bytes.size()]) {
        bytes.copy(bytes_.get(), size_);
    }
    [[nodiscard]] tackle::string_view view() const { return {bytes_.get(), size_}; }

private:
    std::size_t size_;
    std::unique_ptr<char[]> bytes_;
};

} // namespace brimwarden::analysis::community
