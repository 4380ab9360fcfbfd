#pragma once

#include "analysis/links/position_set.h"
#include "foundation/text/text.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace brimwarden::analysis {

// Looks for an address behind one that is none: strips the prefix, resolves the escapes, and if no host results, tries
// again from the next place in what is left that looks like the start of an address, with everything resolved once
// more.
//
// "xhttp:xhttp:xhttp:" asks for that a thousand times over the same text, and each round may change the text anywhere.
// So the text stays where it is, its units marked by what the rounds ask for; a round resolves only escapes that have
// become whole since the last one, and finds host, port and user information by looking up marks. Time and memory are
// linear in the text.
class hidden_uri_search {
public:
    hidden_uri_search(tackle::wstring_view text, bool strict_host);

    // The text from the start of the first address that has a host, as it was before its own prefix was stripped.
    [[nodiscard]] std::optional<tackle::wstring> find();

private:
    // What a unit may be marked as, once or more. Those of the path are needed only where a path can take the place of
    // the host, which is never so if `strict_host`.
    enum mark : std::uint8_t {
        live,
        host_end,
        host_unit,
        host_label_unit,
        at_sign,
        user_end,
        colon,
        no_digit,
        path_unit,
        path_label_unit,
        path_text, // a unit of a segment that is no blank
        path_end,  // ends a segment
        path_stop, // ends the path
        full_stop,
        mark_count
    };
    // The marks of the units of an address, and of those that are part of a label.
    struct address_marks {
        mark unit;
        mark label_unit;
    };

    struct change {
        std::size_t position;
        char16_t unit;
        bool erased;
    };
    struct escape {
        std::size_t end; // the first position behind it
        tackle::wstring units;
        std::optional<unsigned char> byte; // instead of units
    };

    [[nodiscard]] unsigned marks_of(char16_t unit) const;
    void set_marks(std::size_t position);
    void clear_marks(std::size_t position);
    void erase(std::size_t position);
    void replace(std::size_t position, char16_t unit);
    void wake_escapes_before(std::size_t position);

    [[nodiscard]] std::size_t next(mark which, std::size_t from) const { return marks_[which].next(from); }
    [[nodiscard]] std::size_t behind(std::size_t position) const { return next(live, position + 1); }
    [[nodiscard]] bool starts_with(std::size_t position, tackle::wstring_view prefix) const;

    [[nodiscard]] bool strip_prefix();
    void strip_port();
    void decode();
    [[nodiscard]] bool has_bytes_behind(std::size_t position, std::size_t count) const;
    [[nodiscard]] std::optional<escape> read_escape(std::size_t position, bool& stop);
    void finish_bytes();

    [[nodiscard]] bool has_host() const;
    [[nodiscard]] bool has_domain(std::size_t host, std::size_t end, address_marks marks) const;
    [[nodiscard]] bool is_quad(std::size_t host, std::size_t end, address_marks marks) const;
    [[nodiscard]] bool has_host_in_path(std::size_t slash) const;
    [[nodiscard]] std::size_t find_start() const;
    void undo();
    [[nodiscard]] tackle::wstring rest() const;

    tackle::wstring units_;
    const std::uint16_t* classes_;
    bool strict_host_;
    std::vector<position_set> marks_;
    std::size_t start_ = 0;
    std::vector<std::size_t> escapes_; // each "%" that may be one, in order
    std::vector<std::size_t> woken_;   // the same for the next round, in any order
    std::vector<change> changes_;      // of this round
    std::vector<std::size_t> byte_positions_;
    tackle::string bytes_; // resolved one behind the other and not yet turned into units
};

} // namespace brimwarden::analysis
