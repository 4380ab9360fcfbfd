#pragma once

#include "foundation/text/text.h"
#include "html/unit_class.h"

#include <cstdint>
#include <vector>

namespace tackle::html {

// Texts as linked lists of units in one pool, for the rewriting of attribute values. A unit that leaves a list stays in
// the pool as a dead one, and a unit may move from one list to another. Places are indexes, good for the life of the
// pool. Each list has a place before its first and one behind its last unit. A stretch is a long text at one place.
class unit_list {
public:
    using place = std::uint32_t;

    struct node {
        place previous;
        place next;
        // For a unit that is dead or may stand in an entity's name: some place to the left with only such units
        // between. For an "&": the last unit of its name that has been looked at. For a stretch: its index.
        place jump;
        char16_t unit;
        bool dead : 1;
        bool listed : 1;    // waits to be looked at in this pass
        bool is_number : 1; // the rest only for an "&", about the name behind it as far as it has been looked at
        bool is_hexadecimal : 1;
        bool has_wide_unit : 1; // above U+00FF
        bool has_bad_digit : 1;
        bool is_stretch : 1;      // the unit is 0 then
        std::uint8_t name_length; // not counted beyond 255
    };

    unit_list() : classes_(unit_classes()) {}

    void clear() {
        nodes_.clear();
        stretches_.clear();
    }
    void reserve(std::size_t units) { nodes_.reserve(units); }

    struct ends {
        place head;
        place tail;
    };
    ends make_list() {
        const auto head = make(u'\0');
        const auto tail = make(u'\0');
        empty_list({head, tail});
        return {head, tail};
    }
    void empty_list(ends list) {
        nodes_[list.head].next = list.tail;
        nodes_[list.tail].previous = list.head;
    }

    [[nodiscard]] node& at(place p) { return nodes_[p]; }
    [[nodiscard]] char16_t unit(place p) const { return nodes_[p].unit; }
    [[nodiscard]] place next(place p) const { return nodes_[p].next; }
    [[nodiscard]] place previous(place p) const { return nodes_[p].previous; }
    [[nodiscard]] bool is_dead(place p) const { return nodes_[p].dead; }
    // The places at both ends have the unit 0, which is neither.
    [[nodiscard]] bool is_white(place p) const { return (classes_[nodes_[p].unit] & white_unit) != 0; }
    [[nodiscard]] bool in_name(place p) const { return (classes_[nodes_[p].unit] & name_unit) != 0; }

    // A new unit before `p`.
    place insert(char16_t unit, place p) {
        const auto made = make(unit);
        link(made, p);
        return made;
    }
    // Text that conversions only pass over: no "&" and no "<" in it, and units that stand by themselves on both sides.
    // Whoever has to read it replaces it by units first. The index is good for any number of places.
    [[nodiscard]] place add_stretch(wstring_view text) {
        stretches_.emplace_back(text);
        return static_cast<place>(stretches_.size() - 1);
    }
    void insert_stretch(place index, place p) {
        auto& made = nodes_[insert(u'\0', p)];
        made.is_stretch = true;
        made.jump = index;
    }
    [[nodiscard]] bool is_stretch(place p) const { return nodes_[p].is_stretch && !nodes_[p].dead; }
    [[nodiscard]] wstring_view stretch(place p) const { return stretches_[nodes_[p].jump]; }
    // Takes the units from `first` to `last` out of their list and puts them before `p`. What has been found out about
    // entities in them stays good if no name runs across either end of the stretch, before and after.
    void move(place first, place last, place p) {
        const auto before = nodes_[first].previous;
        const auto after = nodes_[last].next;
        nodes_[before].next = after;
        nodes_[after].previous = before;
        const auto target = nodes_[p].previous;
        nodes_[target].next = first;
        nodes_[first].previous = target;
        nodes_[last].next = p;
        nodes_[p].previous = last;
    }
    // Shortcuts across the dead unit at `p` go on at `end` instead of where it died.
    void redirect(place p, place end) { nodes_[p].jump = end; }
    // The place behind it.
    place erase(place p) {
        unlink(p);
        auto& erased = nodes_[p];
        erased.dead = true;
        erased.jump = erased.previous;
        return erased.next;
    }
    // An "&" becomes what its entity stands for.
    void replace(place p, char16_t unit) {
        nodes_[p].unit = unit;
        forget(p);
    }

    // The nearest place at `p` or before it that can't be part of an entity's name. Walks over each unit a few times
    // only, however often it is asked, since it leaves shortcuts behind.
    [[nodiscard]] place name_starter(place p) {
        auto found = p;
        while (can_skip(found))
            found = nodes_[found].jump;
        while (can_skip(p)) {
            const auto after = nodes_[p].jump;
            nodes_[p].jump = found;
            p = after;
        }
        return found;
    }

private:
    [[nodiscard]] bool can_skip(place p) const { return nodes_[p].dead || in_name(p); }

    place make(char16_t unit) {
        const auto made = static_cast<place>(nodes_.size());
        nodes_.push_back({made, made, made, unit, false, false, false, false, false, false, false, 0});
        return made;
    }
    void link(place p, place before) {
        auto& linked = nodes_[p];
        linked.next = before;
        linked.previous = nodes_[before].previous;
        nodes_[linked.previous].next = p;
        nodes_[before].previous = p;
        forget(p);
    }
    void unlink(place p) {
        const auto& unlinked = nodes_[p];
        nodes_[unlinked.previous].next = unlinked.next;
        nodes_[unlinked.next].previous = unlinked.previous;
    }
    void forget(place p) {
        auto& fresh = nodes_[p];
        fresh.jump = fresh.unit == u'&' ? p : fresh.previous;
        fresh.listed = fresh.is_number = fresh.is_hexadecimal = fresh.has_wide_unit = fresh.has_bad_digit = false;
        fresh.name_length = 0;
    }

    std::vector<node> nodes_;
    std::vector<wstring> stretches_;
    const std::uint8_t* classes_;
};

} // namespace tackle::html
