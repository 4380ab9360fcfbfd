#pragma once

#include "foundation/text/text.h"
#include "html/reader.h"

#include <cstddef>
#include <memory>

namespace tackle::html {

// The tags that mean something to the conversion.
enum class tag_kind { a, base, body, body_end, br, img, meta, p, style, title, other };
// By the lower-cased name.
[[nodiscard]] tag_kind kind_of(wstring_view name);

// A URL that needs no base in front: it begins with "http:", "https:" or "mailto:". Lower case only.
[[nodiscard]] bool is_absolute(wstring_view url);

// Brings attribute values to rest: a value is converted to text, as convert_to_text with `in_body` set does it, and the
// result again, until a conversion changes nothing. Entities that are encoded twice are so resolved, tags inside a
// value disappear, and their links are written out and converted away in turn.
//
// Done literally that is a parse of the whole value for each conversion, and one inside the other for a link inside a
// value. Here each further conversion looks only at the places that the last one touched, and the values inside values
// stand on a stack of their own: time and memory are linear in the value for all that has been found so far but links
// nested inside each other, which cost n times the depth; and a depth of d needs a value of 4 d^2 units.
class value_settler {
public:
    value_settler();
    value_settler(value_settler&&) noexcept;
    value_settler& operator=(value_settler&&) noexcept;
    ~value_settler();

    // How many units all values of this object together may have of the base URLs inside them, when the first link after
    // each base is not counted. A value that would go beyond has such bases in front of their first links alone.
    void limit_growth(std::size_t units);
    [[nodiscard]] wstring settle(wstring_view value);

private:
    class work;
    std::unique_ptr<work> work_; // made by the first value that is not at rest already
    std::size_t growth_left_ = 0;
    std::size_t copies_left_ = 0;
};

} // namespace tackle::html
