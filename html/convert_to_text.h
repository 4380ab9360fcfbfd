#pragma once

#include "foundation/text/text.h"
#include "html/reader.h"
#include "html/settled_value.h"
#include "html/text_set.h"

namespace tackle::html {

// Turns HTML into the text that a reader of the mail would see: white space collapsed, entities resolved, the target of
// each link written into the text. It is crude on purpose: no nesting, no style, no hidden text; a filter on the last
// tag alone leaves out meta, style and title.
//
//     convert_to_text converter(false);
//     parse(html, converter);
//     if (!converter.tags.contains(u"body")) { converter = convert_to_text(true); parse(html, converter); }
//
// One object for one parse, used by one thread. Nothing is raised for bad input.
//
// Memory: the text is no longer than the input, but for the relative links, each of which repeats the base URL. Text
// and links are exact as long as each has at most four times the units of the input (or 64 Ki units); relative links
// that would go beyond are left out, but for the first one after each base. See docs/html-conversion.md.
class convert_to_text final : public reader {
public:
    // `in_body`: whether text is collected before a body tag has been seen.
    explicit convert_to_text(bool in_body) : in_body_(in_body) {}

    wstring text;
    text_set tags;  // each name seen, lower-cased, with its "/"
    text_set links; // each link and image, lower-cased and put behind the base URL; also from outside the body

    void on_begin(std::size_t length) override;
    void on_tag(wstring_view name) override;
    void on_tag_end(wstring_view name) override;
    void on_attribute(wstring_view name, wstring_view value) override;
    void on_text(wstring_view chunk) override;
    entity_answer on_entity(wstring_view name) override;

private:
    [[nodiscard]] wstring link_of(wstring_view value);
    void set_base(wstring_view url);
    void write_link(wstring_view base, wstring_view url);

    tag_kind current_tag_ = tag_kind::other;
    wstring base_;
    bool base_is_new_ = false; // no link with it has been written to the text
    bool in_body_;
    bool last_was_space_ = true;
    std::size_t limit_ = 0; // of `text`, for links that repeat the base
    value_settler settler_;
    wstring lowered_; // scratch
};

} // namespace tackle::html
