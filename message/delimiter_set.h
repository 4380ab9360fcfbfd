#pragma once

#include "message/line_search.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace tackle::internet::message2 {

// The boundaries of the parts that are open while a message is walked, each part known by its depth. A line is compared
// with all of them in a few steps, so that 64 long boundaries cost a line of dashes no more than one.
class delimiter_set {
public:
    struct match {
        std::size_t owner;
        bool closing; // "--" stands behind the boundary too
    };

    [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }
    // The boundary is not empty, and the owner has none yet.
    void add(string_view boundary, std::size_t owner);
    void remove(std::size_t owner);
    // Whether the line is the delimiter or closing line of an owner; the outermost one, if it is that of several, since
    // the walk of an outer part sees the lines first.
    [[nodiscard]] std::optional<match> find(string_view line) const;
    // The bytes that boundaries begin with, each with the number of them.
    [[nodiscard]] const byte_counts& first_bytes() const noexcept { return first_bytes_; }

private:
    struct entry {
        string boundary; // a copy: that of the part may be replaced while its body is stored
        std::size_t owner;
    };
    [[nodiscard]] const entry* find_boundary(string_view boundary) const;

    std::vector<entry> entries_; // ordered by length, bytes, owner
    byte_counts first_bytes_{};
    byte_counts lengths_{}; // how many have each length, all from 255 on counted together
};

} // namespace tackle::internet::message2
