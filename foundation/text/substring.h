#pragma once

#include "foundation/text/text.h"

#include <cstddef>
#include <vector>

namespace tackle {

// Finds one text in others in linear time whatever both hold, where std::string::find may take the product of the
// lengths. Keeps a view of the text it looks for. One allocation, and only for a text longer than 16 units.
template <typename unit>
class substring {
public:
    using view = std::basic_string_view<unit>;

    explicit substring(view wanted);
    // The first occurrence at or behind `from`, view::npos if there is none.
    [[nodiscard]] std::size_t find_in(view text, std::size_t from = 0) const noexcept;

private:
    view wanted_;
    // For each prefix of the wanted text, how much of its beginning is also its end; empty for a short text.
    std::vector<std::size_t> borders_;
};

extern template class substring<char>;
extern template class substring<char16_t>;

} // namespace tackle
