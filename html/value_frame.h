#pragma once

#include "foundation/text/text.h"
#include "html/base_copy.h"
#include "html/entity_table.h"
#include "html/settled_value.h"
#include "html/unit_list.h"

#include <optional>
#include <vector>

namespace tackle::html {

// What the frames of one value share.
struct value_pool {
    unit_list units;
    std::size_t growth_left = 0; // of what bases may add to the values
    std::size_t copies_left = 0; // of the units that may be written of bases, although they may not stay
    bool stop_at_limit = true;   // else a base beyond it counts as empty
    bool overflow = false;       // the limit has been met
    wstring scratch;
    [[nodiscard]] bool stopped() const { return overflow && stop_at_limit; }
};

// One value on its way to rest: the list of its units, and the conversion that is under way. A conversion is a pass
// from front to back that rewrites the list in place; it visits only the places where the pass before has changed
// something, since everywhere else a conversion gives what it gets. A value inside the value stops the pass until
// somebody has brought that to rest in a frame of its own, so that no depth of nesting costs stack.
class value_frame {
public:
    using place = unit_list::place;
    using ends = unit_list::ends;

    explicit value_frame(value_pool& pool)
        : pool_(pool), units_(pool.units), list_(pool.units.make_list()), base_units_(pool.units.make_list()) {}

    // Empties the frame, for a new value: new units, one behind the other, or a stretch of another frame's.
    void clear();
    void append(char16_t unit);
    void start() { start_pass(); }

    // True if the value is at rest; false if `inner`, filled by then, has to be run first, and then handed to `resume`.
    [[nodiscard]] bool run(value_frame& inner);
    void resume(value_frame& inner);

    [[nodiscard]] wstring text() const;

private:
    enum class reading { text, tag, inner_value };
    // A stretch of the pool, and what part it is of what stays of the base.
    struct base_stretch {
        place index;
        std::size_t start;
        std::size_t end;
    };

    // The first pass looks at all places where a conversion could change anything.
    void look_at_taken(place p, bool behind_white) {
        auto& taken = units_.at(p);
        if (taken.listed) taken.listed = false; // the mark was set by the frame that the unit came from
        if (taken.unit == u'<' || taken.unit == u'&' || (behind_white && units_.is_white(p))) list_place(p);
    }
    void start_pass();
    void end_pass();
    void list_place(place p);
    void touch(place p);
    void drop();
    void write(char16_t unit);

    [[nodiscard]] bool filtered() const { return dropping_ || !in_body_; }
    // Where units are read one by one there must be no stretch.
    void open_here() {
        if (units_.is_stretch(at_)) at_ = open_stretch(at_);
    }
    [[nodiscard]] bool at_end() {
        open_here();
        return at_ == list_.tail;
    }
    place open_stretch(place p);
    void open_front();
    [[nodiscard]] bool at_white() const { return units_.is_white(at_); }
    [[nodiscard]] bool at_quote() const { return units_.unit(at_) == u'"' || units_.unit(at_) == u'\''; }
    [[nodiscard]] bool find_next();
    void read_unit();
    void read_entity();
    void look_at_name(place ampersand);
    [[nodiscard]] entity_value entity_at(place ampersand);
    void pass_entity_as_text(place behind);
    void drop_entity(place ampersand, place behind, bool closed);

    void read_tag_name();
    [[nodiscard]] bool read_tag(value_frame& inner);
    [[nodiscard]] bool read_attribute(value_frame& inner);
    [[nodiscard]] bool read_value(bool wanted, value_frame& inner);
    void skip_quoted_name();
    [[nodiscard]] bool ends_value(char16_t quote);
    void skip_value(char16_t quote);
    void take_value(char16_t quote, value_frame& inner);
    void take(place first, place behind, place dropped);
    [[nodiscard]] bool starts_with(wstring_view prefix) const;
    void set_base(value_frame& inner, bool absolute);
    void write_base();
    void read_base();
    void keep_stretch(wstring_view stays);
    void write_units(wstring_view text);
    void move_units(ends from);

    value_pool& pool_;
    unit_list& units_;
    ends list_;
    std::vector<place> listed_;  // where this pass has to look, from front to back
    std::vector<place> touched_; // where it has changed something, likewise
    std::size_t next_listed_ = 0;

    // The state of the conversion, as in convert_to_text.
    place at_ = 0;      // the next unit to be read; what stands before it is output
    place dropped_ = 0; // the unit dropped last
    reading reading_ = reading::text;
    tag_kind tag_ = tag_kind::other;
    bool in_body_ = true;
    bool dropping_ = false;
    bool last_was_space_ = true;

    ends base_units_;          // the base, until the first link takes its units
    bool base_is_new_ = false; // no link has
    place base_first_ = 0;     // where these units are then, until the end of the pass
    place base_last_ = 0;
    wstring base_;                     // as text, and the rest as well: made by the second link
    base_stand_in stand_in_;           // for the base
    std::optional<base_stretch> kept_; // in what stays of it
};

} // namespace tackle::html
