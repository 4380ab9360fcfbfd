#include "foundation/text/strings.h"
#include "html/value_frame.h"

// The tags inside an attribute value: the other half of value_frame. All their units go; what a link writes into the
// text takes their place.
namespace tackle::html {

namespace {

constexpr std::size_t longest_tag = 5; // of those that mean something

} // namespace

void value_frame::read_tag_name() {
    wstring_view::size_type length = 0;
    char16_t name[longest_tag + 1];
    for (drop(); !at_end() && !at_white() && units_.unit(at_) != u'>'; drop()) {
        if (length <= longest_tag) name[length++] = lower_letter(units_.unit(at_));
    }
    if (at_end()) { // cut off in its name: there was no tag
        touch(at_);
        return;
    }
    tag_ = kind_of({name, length});
    dropping_ = tag_ == tag_kind::meta || tag_ == tag_kind::style || tag_ == tag_kind::title;
    if (tag_ == tag_kind::body_end) in_body_ = false;
    if (in_body_ && (tag_ == tag_kind::p || tag_ == tag_kind::br)) {
        write(u'\r');
        write(u'\n');
        last_was_space_ = true;
    }
    reading_ = reading::tag;
}

// To the end of the tag. False if a value in it has to be brought to rest first.
bool value_frame::read_tag(value_frame& inner) {
    while (!at_end()) {
        if (units_.unit(at_) == u'>') {
            drop();
            if (tag_ == tag_kind::body) in_body_ = true;
            break;
        }
        const bool attribute_follows = at_white();
        drop();
        if (attribute_follows && !read_attribute(inner)) return false;
    }
    touch(at_);
    reading_ = reading::text;
    return true;
}

bool value_frame::read_attribute(value_frame& inner) {
    if (!at_end() && at_quote()) {
        skip_quoted_name();
        return true;
    }
    static constexpr wstring_view href = u"href";
    std::size_t length = 0;
    bool is_href = true;
    for (; !at_end(); drop(), ++length) {
        const auto unit = units_.unit(at_);
        if (unit == u'/') {
            drop();
            return true;
        }
        if (unit == u'>' || at_white()) return true;
        if (unit == u'=') {
            drop();
            const bool has_link = tag_ == tag_kind::base || (tag_ == tag_kind::a && in_body_);
            return read_value(has_link && is_href && length == href.size(), inner);
        }
        if (length >= href.size() || lower_letter(unit) != href[length]) is_href = false;
    }
    return true;
}

void value_frame::skip_quoted_name() {
    const auto quote = units_.unit(at_);
    for (drop(); !at_end() && units_.unit(at_) != quote; drop()) {
        if (units_.unit(at_) == u'\\') drop();
        if (at_end()) return;
    }
}

// False if the value now stands in `inner`.
bool value_frame::read_value(bool wanted, value_frame& inner) {
    if (at_end()) return true;
    const auto quote = at_quote() ? units_.unit(at_) : u'\0';
    if (quote != 0) drop();
    if (wanted)
        take_value(quote, inner);
    else
        skip_value(quote);
    if (quote != 0 && !at_end()) drop();
    return !wanted;
}

bool value_frame::ends_value(char16_t quote) {
    if (at_end()) return true;
    const auto unit = units_.unit(at_);
    return quote != 0 ? unit == quote : unit == u'>' || at_white();
}

void value_frame::skip_value(char16_t quote) {
    for (; !ends_value(quote); drop()) {
        if (quote != 0 && units_.unit(at_) == u'\\') drop();
        if (at_end()) return;
    }
}

void value_frame::take_value(char16_t quote, value_frame& inner) {
    inner.clear();
    open_here();
    auto before = dropped_;
    auto first = at_;
    bool behind_white = true;
    while (!ends_value(quote)) {
        if (quote != 0 && units_.unit(at_) == u'\\') {
            const bool in_front = at_ == first;
            drop();
            open_here();
            if (in_front) {
                before = dropped_;
                first = at_;
            }
            if (at_end()) break;
        }
        inner.look_at_taken(at_, behind_white);
        behind_white = at_white();
        at_ = units_.next(at_);
    }
    inner.take(first, at_, before);
}

// The stretch moves as it is, so that a value deep inside others is not copied out of each. `dropped` stood in front of
// it in the other frame; names begin behind it here as they did there.
void value_frame::take(place first, place behind, place dropped) {
    if (first != behind) {
        units_.move(first, units_.previous(behind), list_.tail);
        units_.redirect(dropped, list_.head);
        if (units_.in_name(first)) units_.redirect(first, list_.head);
    }
    start();
}

// `inner` is at rest: does with it what the attribute asks for, and goes on in the tag.
void value_frame::resume(value_frame& inner) {
    auto& source = inner.list_;
    while (units_.next(source.head) != source.tail && units_.is_white(units_.next(source.head)))
        units_.erase(units_.next(source.head));
    inner.open_front();
    for (auto p = units_.next(source.head); p != source.tail; p = units_.next(p))
        units_.at(p).unit = lower_letter(units_.unit(p));
    if (inner.starts_with(u"cid:") || inner.starts_with(u"mid:")) return;
    const bool absolute = inner.starts_with(u"http:") || inner.starts_with(u"https:") || inner.starts_with(u"mailto:");
    if (tag_ == tag_kind::base) {
        set_base(inner, absolute);
        return;
    }
    if (!last_was_space_) write(u' ');
    write(u'<');
    if (!absolute) write_base();
    move_units(inner.list_);
    write(u'>');
    write(u' ');
    last_was_space_ = true;
}

void value_frame::set_base(value_frame& inner, bool absolute) {
    units_.empty_list(base_units_);
    if (!absolute) {
        for (const auto unit : wstring_view(u"http://"))
            units_.insert(unit, base_units_.tail);
    }
    const auto first = units_.next(inner.list_.head);
    if (first != inner.list_.tail) units_.move(first, units_.previous(inner.list_.tail), base_units_.tail);
    base_is_new_ = true;
    base_.clear();
}

// The first link has the units of the base itself, so that nothing grows. A later one has a copy; when too many have
// been written, what the next conversion would leave of one. The limit counts what stays, not what is written: most
// copies go again as part of a tag.
void value_frame::write_base() {
    if (base_is_new_) {
        base_is_new_ = false;
        const auto before = units_.previous(at_);
        move_units(base_units_);
        base_first_ = units_.next(before);
        base_last_ = units_.previous(at_);
        return;
    }
    if (base_.empty()) read_base();
    if (base_.empty()) return;
    if (stand_in_.stays > pool_.growth_left) {
        pool_.overflow = true;
        return;
    }
    pool_.growth_left -= stand_in_.stays;
    const auto gone = base_.size() - stand_in_.stays;
    const bool whole = gone <= pool_.copies_left;
    if (whole) pool_.copies_left -= gone;
    const wstring_view base = base_;
    write_units(whole ? base.substr(0, gone) : stand_in_.head);
    const auto stays = base.substr(gone);
    if (!kept_) {
        write_units(stays);
        return;
    }
    write_units(stays.substr(0, kept_->start));
    units_.insert_stretch(kept_->index, at_);
    write_units(stays.substr(kept_->end));
}

void value_frame::write_units(wstring_view text) {
    for (const auto unit : text) {
        const auto written = units_.insert(unit, at_);
        if (unit == u'&') touch(written);
    }
}

// From where the first link has it: this pass does not come back there.
void value_frame::read_base() {
    if (base_first_ == list_.tail) return; // no base
    for (auto p = base_first_;; p = units_.next(p)) {
        if (units_.is_stretch(p))
            base_ += units_.stretch(p);
        else
            base_ += units_.unit(p);
        if (p == base_last_) break;
    }
    stand_in_ = stand_in_for(base_);
    kept_.reset();
    keep_stretch(wstring_view(base_).substr(base_.size() - stand_in_.stays));
}

// Blanks at its ends could meet others when their neighbours go, so they are left to units.
void value_frame::keep_stretch(wstring_view stays) {
    constexpr std::size_t shortest_stretch = 16; // below, units cost no more
    if (stays.size() < shortest_stretch || stays.find(u'&') != wstring_view::npos) return;
    const auto is_white = [](char16_t unit) { return (unit_classes()[unit] & white_unit) != 0; };
    std::size_t start = 1;
    auto end = stays.size() - 1;
    while (start < end && is_white(stays[start]))
        ++start;
    while (start < end && is_white(stays[end - 1]))
        --end;
    if (start < end) kept_ = {units_.add_stretch(stays.substr(start, end - start)), start, end};
}

// Into the output.
void value_frame::move_units(ends from) {
    const auto first = units_.next(from.head);
    if (first == from.tail) return;
    units_.move(first, units_.previous(from.tail), at_);
    // In lower case an entity that had no meaning may get one.
    for (auto p = first; p != at_; p = units_.next(p)) {
        if (units_.unit(p) == u'&') touch(p);
    }
}

bool value_frame::starts_with(wstring_view prefix) const {
    auto p = units_.next(list_.head);
    for (const auto unit : prefix) {
        if (p == list_.tail || units_.unit(p) != unit) return false;
        p = units_.next(p);
    }
    return true;
}

} // namespace tackle::html
