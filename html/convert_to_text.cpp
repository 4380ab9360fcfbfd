#include "html/convert_to_text.h"

#include "foundation/text/strings.h"
#include "html/entity_table.h"
#include "html/unit_class.h"

#include <algorithm>

namespace tackle::html {

namespace {

// Relative links may make the result this much longer than the input. Small inputs need no limit.
constexpr std::size_t growth_factor = 4;
constexpr std::size_t always_allowed = 0x10000;

void lower_into(wstring& out, wstring_view in) {
    out.resize(in.size());
    std::ranges::transform(in, out.begin(), [](char16_t unit) { return lower_letter(unit); });
}

bool matters(tag_kind tag, wstring_view name) {
    if (tag == tag_kind::img) return iequals(name, u"src");
    return (tag == tag_kind::a || tag == tag_kind::base) && iequals(name, u"href");
}

} // namespace

void convert_to_text::on_begin(std::size_t length) {
    text.reserve(length);
    limit_ = std::max(length * growth_factor, always_allowed);
    links.limit_prefixed(limit_);
    settler_.limit_growth(limit_);
}

void convert_to_text::on_tag(wstring_view name) {
    lower_into(lowered_, name);
    current_tag_ = kind_of(lowered_);
    tags.insert(lowered_);
    if (current_tag_ == tag_kind::body_end) in_body_ = false;
    if (!in_body_ || (current_tag_ != tag_kind::p && current_tag_ != tag_kind::br)) return;
    text += u"\r\n";
    last_was_space_ = true;
}

void convert_to_text::on_tag_end(wstring_view /*name*/) {
    if (current_tag_ == tag_kind::body) in_body_ = true;
}

void convert_to_text::on_text(wstring_view chunk) {
    if (!in_body_ || current_tag_ == tag_kind::meta || current_tag_ == tag_kind::style ||
        current_tag_ == tag_kind::title)
        return;
    const auto* classes = unit_classes();
    const auto is_white = [classes](char16_t unit) { return (classes[unit] & white_unit) != 0; };
    const auto* at = chunk.data();
    const auto* const end = at + chunk.size();
    while (at != end) {
        if (is_white(*at)) {
            if (!last_was_space_) text += *at;
            last_was_space_ = true;
            ++at;
            continue;
        }
        const auto* word = at;
        while (at != end && !is_white(*at))
            ++at;
        text.append(word, at);
        last_was_space_ = false;
    }
}

// What an entity stands for goes into the text past the filter and the collapsing of white space.
entity_answer convert_to_text::on_entity(wstring_view name) {
    if (!in_body_) {
        // Numbers are not even read here.
        const bool hexadecimal = name.size() >= 2 && (name[1] == u'x' || name[1] == u'X');
        const std::size_t shortest = hexadecimal ? 3 : 2;
        if (name.size() >= shortest && name.front() == u'#') return entity_answer::understood;
    }
    const auto value = read_entity_name(name);
    if (value.answer == entity_answer::understood && in_body_) text += value.unit;
    return value.answer;
}

void convert_to_text::on_attribute(wstring_view name, wstring_view value) {
    if (!matters(current_tag_, name)) return;
    const auto url = link_of(value);
    const wstring_view view = url;
    if (view.starts_with(u"cid:") || view.starts_with(u"mid:")) return;
    if (current_tag_ == tag_kind::base) {
        set_base(url);
        return;
    }
    if (is_absolute(url) || base_.empty()) {
        if (current_tag_ == tag_kind::a) write_link({}, url);
        links.insert(url);
        return;
    }
    if (current_tag_ == tag_kind::a && in_body_) {
        if (base_is_new_ || text.size() + base_.size() + url.size() < limit_) write_link(base_, url);
        base_is_new_ = false;
    }
    links.insert_prefixed(url);
}

// At rest, lower-cased, and without white space in front.
wstring convert_to_text::link_of(wstring_view value) {
    auto url = settler_.settle(value);
    to_lower_in_place(url);
    const auto* classes = unit_classes();
    const auto first = std::ranges::find_if(url, [=](char16_t unit) { return (classes[unit] & white_unit) == 0; });
    url.erase(url.begin(), first);
    return url;
}

void convert_to_text::set_base(wstring_view url) {
    base_ = is_absolute(url) ? u"" : u"http://";
    base_ += url;
    links.set_prefix(base_);
    base_is_new_ = true;
}

void convert_to_text::write_link(wstring_view base, wstring_view url) {
    on_text(u" <");
    on_text(base);
    on_text(url);
    on_text(u"> ");
}

} // namespace tackle::html
