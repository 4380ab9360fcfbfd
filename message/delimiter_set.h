#pragma once

#include "foundation/text/text.h"

#include <array>
#include <cstddef>
#include <cstdint>
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
    // The first line that could be one of those, at or after `from`; the text's size if there is none. The text begins
    // with a line. Needs no line ends, and looks at most lines of dashes just once: a body can consist of them.
    [[nodiscard]] std::size_t find_candidate(string_view text, std::size_t from) const;

private:
    using byte_counts = std::array<std::uint16_t, 256>;
    struct entry {
        string boundary; // a copy: that of the part may be replaced while its body is stored
        std::size_t owner;
        // The first eight bytes of the boundary, and the bits that it has of them.
        std::uint64_t begin = 0;
        std::uint64_t mask = 0;
    };
    [[nodiscard]] bool may_begin_at(string_view text, std::size_t line) const;
    [[nodiscard]] const entry* find_boundary(string_view boundary) const;

    std::vector<entry> entries_; // ordered by length, bytes, owner
    byte_counts first_bytes_{};  // how many begin with each byte
    byte_counts lengths_{};      // how many have each length, all from 255 on counted together
};

} // namespace tackle::internet::message2
