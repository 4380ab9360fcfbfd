#pragma once

#include "analysis/signature_record.h"
#include "foundation/text.h"

#include <deque>
#include <map>

namespace brimwarden::analysis {

// The "tru" signatures of one message while they are collected. Each address is kept in its shortest form: one whose
// value begins with the value of another is left out, be it a longer path or a host below. Adding takes log n
// comparisons whatever order the addresses come in.
class uri_list {
public:
    // Replaces all those that begin with `value`; does nothing if there is one that `value` begins with.
    void add(tackle::wstring_view value, tackle::wstring details);
    // The same, but longer ones stay. Nothing may be added with `add` afterwards.
    void add_beside(tackle::wstring_view value);
    // Takes out all that begin with `prefix`.
    void erase(tackle::wstring_view prefix);

    // Puts them at the end of a list, in the order in which they came.
    void move_to(signature_list& signatures);

private:
    struct entry {
        signature_record record;
        bool erased = false;
    };
    using shortest_map = std::map<tackle::wstring_view, entry*>;

    // Where longer forms of `value` start; the end of the map if it has a shorter one.
    [[nodiscard]] bool has_shorter(tackle::wstring_view value, shortest_map::iterator after) const;
    void append(tackle::wstring_view value, tackle::wstring details, shortest_map::iterator after);

    std::deque<entry> entries_; // never moves one
    shortest_map shortest_;     // by value those that begin with no other
};

} // namespace brimwarden::analysis
