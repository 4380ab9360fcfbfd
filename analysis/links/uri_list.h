#pragma once

#include "findings/signature_record.h"
#include "foundation/text/text.h"

#include <deque>
#include <map>

namespace brimwarden::analysis {

// The "tru" signatures of one message while they are collected. Each address is kept in its shortest form: one whose
// value begins with the value of another is left out, be it a longer path or a host below. Adding takes a few times
// log n comparisons, whatever order the addresses come in.
class uri_list {
public:
    uri_list() = default;
    // Whether the signatures get their details.
    explicit uri_list(bool with_details) : with_details_(with_details) {}

    // Replaces all those that begin with `value`; does nothing if there is one that `value` begins with.
    // `input` is what the address was found in, and goes into the details if they are wanted.
    void add(tackle::wstring_view value, tackle::wstring_view input);
    // The same, but longer ones stay. Nothing may be added with `add` afterwards.
    void add_beside(tackle::wstring_view value);
    // Takes out all that begin with `prefix`.
    void erase(tackle::wstring_view prefix);

    [[nodiscard]] bool empty() const { return entries_.empty(); }

    // Puts them at the end of a list, in the order in which they came, and is empty then.
    void move_to(signature_list& signatures);

private:
    struct entry {
        signature_record record;
        bool erased = false;
    };
    using shortest_map = std::map<tackle::wstring_view, entry*>;

    [[nodiscard]] bool begins_with_one(tackle::wstring_view value, shortest_map::const_iterator behind) const;
    signature_record& append(tackle::wstring_view value, shortest_map::const_iterator behind);

    bool with_details_ = false;
    std::deque<entry> entries_; // never moves one
    // By value those that begin with no other. Whatever value begins with one of them has it directly in front.
    shortest_map shortest_;
};

} // namespace brimwarden::analysis
