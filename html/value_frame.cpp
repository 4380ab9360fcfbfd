#include "html/value_frame.h"

#include "foundation/text/strings.h"

namespace tackle::html {

void value_frame::clear() {
    units_.empty_list(list_);
    listed_.clear();
    touched_.clear();
    reading_ = reading::text;
}

void value_frame::append(char16_t unit) {
    const auto last = units_.previous(list_.tail);
    look_at_taken(units_.insert(unit, list_.tail), last == list_.head || units_.is_white(last));
}

wstring value_frame::text() const {
    wstring result;
    for (auto p = units_.next(list_.head); p != list_.tail; p = units_.next(p)) {
        if (units_.is_stretch(p))
            result += units_.stretch(p);
        else
            result += units_.unit(p);
    }
    return result;
}

// Replaces a stretch by its units. Returns the first of them.
value_frame::place value_frame::open_stretch(place p) {
    const auto text = units_.stretch(p);
    const auto behind = units_.erase(p);
    if (text.size() > pool_.copies_left) {
        pool_.overflow = true;
        return behind;
    }
    pool_.copies_left -= text.size();
    auto first = behind;
    for (std::size_t i = text.size(); i-- > 0;)
        first = units_.insert(text[i], first);
    return first;
}

// So that the scheme of a URL can be read.
void value_frame::open_front() {
    constexpr int longest_scheme = 7;
    auto p = units_.next(list_.head);
    for (int i = 0; i < longest_scheme && p != list_.tail; ++i) {
        if (units_.is_stretch(p)) p = open_stretch(p);
        if (p != list_.tail) p = units_.next(p);
    }
}

// A new conversion, with a new converter.
void value_frame::start_pass() {
    next_listed_ = 0;
    at_ = list_.head;
    tag_ = tag_kind::other;
    in_body_ = true;
    dropping_ = false;
    last_was_space_ = true;
    base_is_new_ = false;
    base_first_ = base_last_ = list_.tail;
    base_.clear();
}

// Finds where the next conversion could change what this one has left: at new units, at blanks that have come together,
// and at an entity whose name runs up to a change. Touched places are in order and so are those found from them.
void value_frame::end_pass() {
    listed_.clear();
    for (const auto p : touched_) {
        if (units_.is_dead(p)) continue; // then the place behind it was touched as well
        const auto before = units_.previous(p);
        const auto starter = units_.name_starter(before);
        if (units_.unit(starter) == u'&') list_place(starter);
        if (p == list_.tail) break;
        const auto unit = units_.unit(p);
        if (unit == u'<' || unit == u'&') list_place(p);
        if (units_.is_white(p) && (before == list_.head || units_.is_white(before))) list_place(p);
    }
    touched_.clear();
}

void value_frame::list_place(place p) {
    auto& listed = units_.at(p);
    if (listed.listed) return;
    listed.listed = true;
    listed_.push_back(p);
}

void value_frame::touch(place p) {
    if (!touched_.empty() && (touched_.back() == p || units_.is_dead(touched_.back())))
        touched_.back() = p;
    else
        touched_.push_back(p);
}

void value_frame::drop() {
    dropped_ = at_;
    at_ = units_.erase(at_);
}

void value_frame::write(char16_t unit) { touch(units_.insert(unit, at_)); }

bool value_frame::run(value_frame& inner) {
    for (;;) {
        if (reading_ == reading::tag) {
            if (!read_tag(inner)) return false;
        } else if (find_next()) {
            read_unit();
        } else {
            end_pass();
            if (listed_.empty() || pool_.stopped()) return true;
            start_pass();
        }
    }
}

// Goes to the next place to look at. False at the end of the pass.
bool value_frame::find_next() {
    if (filtered()) {
        // Everything goes but what entities stand for, so each unit has to be read.
        while (units_.is_stretch(at_)) {
            drop();
            touch(at_);
        }
        return !at_end();
    }
    while (at_ != list_.head && last_was_space_ && at_white()) {
        drop();
        touch(at_);
    }
    for (; next_listed_ < listed_.size(); ++next_listed_) {
        const auto p = listed_[next_listed_];
        if (units_.is_dead(p) || !units_.at(p).listed) continue;
        if (p != at_) {
            // Plain text was passed over. Its last unit decides; an entity's value, which does not count, would stand
            // directly in front of at_.
            const auto before = units_.previous(p);
            last_was_space_ = before == list_.head || units_.is_white(before);
            at_ = p;
        }
        return true;
    }
    return false;
}

void value_frame::read_unit() {
    units_.at(at_).listed = false;
    const auto unit = units_.unit(at_);
    if (unit == u'<') {
        read_tag_name();
    } else if (unit == u'&') {
        read_entity();
    } else if (filtered() || (last_was_space_ && at_white())) {
        drop();
        touch(at_);
    } else {
        last_was_space_ = at_white();
        at_ = units_.next(at_);
    }
}

void value_frame::read_entity() {
    const auto ampersand = at_;
    look_at_name(ampersand);
    const auto behind = units_.next(units_.at(ampersand).jump);
    const bool ended = behind == list_.tail;
    const bool closed = !ended && units_.unit(behind) == u';';
    if (ended && units_.at(ampersand).name_length == 0) {
        drop_entity(ampersand, behind, false);
        return;
    }
    const auto value = entity_at(ampersand);
    if (value.answer == entity_answer::unreadable || (value.answer == entity_answer::unknown && !ended && !closed)) {
        pass_entity_as_text(behind);
        return;
    }
    if (value.answer == entity_answer::understood && in_body_) {
        at_ = units_.next(ampersand);
        while (at_ != behind)
            drop();
        if (closed) drop();
        units_.replace(ampersand, value.unit);
        touch(ampersand);
        touch(at_);
        return;
    }
    drop_entity(ampersand, behind, closed);
}

// Goes on where it stopped the last time: names only grow at their end.
void value_frame::look_at_name(place ampersand) {
    const auto next = [this](place p) {
        p = units_.next(p);
        return units_.is_stretch(p) ? open_stretch(p) : p;
    };
    for (auto p = next(units_.at(ampersand).jump); units_.in_name(p); p = next(p)) {
        auto& entity = units_.at(ampersand); // opening a stretch moves the pool
        const auto unit = units_.unit(p);
        if (entity.name_length == 0 && unit == u'#') {
            entity.is_number = true;
        } else if (entity.name_length == 1 && entity.is_number && (unit == u'x' || unit == u'X')) {
            entity.is_hexadecimal = true;
        } else {
            if (unit > 0xFF) entity.has_wide_unit = true;
            const bool hex_digit =
                (unit >= u'0' && unit <= u'9') || (lower_letter(unit) >= u'a' && lower_letter(unit) <= u'f');
            if (!hex_digit) entity.has_bad_digit = true;
        }
        if (entity.name_length < 0xFF) ++entity.name_length;
        entity.jump = p;
    }
}

// Writes the name out only where it will be used up, or is short.
entity_value value_frame::entity_at(place ampersand) {
    constexpr unsigned longest_name = 8;
    const auto& entity = units_.at(ampersand);
    const bool is_number = entity.is_number && entity.name_length >= 2;
    if (is_number) {
        if (!in_body_ && (!entity.is_hexadecimal || entity.name_length >= 3)) return {entity_answer::understood, 0};
        if (entity.has_wide_unit) return {entity_answer::unreadable, 0};
        if (entity.is_hexadecimal && entity.has_bad_digit) return {entity_answer::unknown, 0};
    } else if (entity.name_length > longest_name) {
        return {entity_answer::unknown, 0};
    }
    auto& name = pool_.scratch;
    name.clear();
    for (auto p = ampersand; p != entity.jump;) {
        p = units_.next(p);
        name += units_.unit(p);
    }
    return read_entity_name(name);
}

void value_frame::pass_entity_as_text(place behind) {
    if (filtered()) {
        while (at_ != behind)
            drop();
        touch(at_);
        return;
    }
    last_was_space_ = false;
    at_ = behind;
}

void value_frame::drop_entity(place ampersand, place behind, bool closed) {
    at_ = ampersand;
    while (at_ != behind)
        drop();
    if (closed) drop();
    touch(at_);
}

} // namespace tackle::html
