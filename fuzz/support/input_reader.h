#pragma once

#include "foundation/text/text.h"

#include <algorithm>
#include <cstdint>

// Takes numbers and stretches of bytes from the front of a fuzz input; behind its end everything is zero or empty.
class input_reader {
public:
    input_reader(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

    [[nodiscard]] bool empty() const { return rest_.empty(); }
    std::uint8_t byte() { return static_cast<std::uint8_t>(number(1)); }
    // Little end first.
    std::uint32_t number(std::size_t bytes) {
        const auto taken = this->bytes(bytes);
        std::uint32_t value = 0;
        for (std::size_t i = taken.size(); i-- > 0;)
            value = value << 8 | static_cast<std::uint8_t>(taken[i]);
        return value;
    }
    tackle::string_view bytes(std::size_t count) {
        const auto taken = rest_.substr(0, count);
        rest_.remove_prefix(taken.size());
        return taken;
    }
    tackle::string_view rest() { return bytes(rest_.size()); }

private:
    tackle::string_view rest_;
};
