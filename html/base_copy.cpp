#include "html/base_copy.h"

#include "html/unit_class.h"

namespace tackle::html {

namespace {

// Where the reader is in a tag.
class tag_state {
public:
    // False if `unit` ends the tag.
    bool read(char16_t unit) {
        const bool white = (unit_classes()[unit] & white_unit) != 0;
        switch (at_) {
        case flag_quoted:
        case value_quoted:
            read_quoted(unit);
            return true;
        case attribute_start:
            at_ = attribute;
            if (open_quote(unit, flag_quoted)) return true;
            break;
        case value_start:
            at_ = value;
            if (open_quote(unit, value_quoted)) return true;
            break;
        default:
            break;
        }
        if (unit == u'>') return false;
        if (white)
            at_ = attribute_start;
        else if (at_ == attribute && (unit == u'/' || unit == u'='))
            at_ = unit == u'/' ? rest : value_start;
        return true;
    }

    // A few units that lead from the start of a tag to the same place. No tag that means anything begins with "h".
    [[nodiscard]] wstring shortest() const {
        static constexpr wstring_view ways[] = {u"h", u"h /", u"h ", u"h x", u"h ", u"h x=", u"h x=y", u"h x="};
        wstring way(ways[at_]);
        if (at_ == flag_quoted || at_ == value_quoted) way += quote_;
        if (escaped_) way += u'\\';
        return way;
    }

private:
    enum place { name, rest, attribute_start, attribute, flag_quoted, value_start, value, value_quoted };

    bool open_quote(char16_t unit, place inside) {
        if (unit != u'"' && unit != u'\'') return false;
        quote_ = unit;
        at_ = inside;
        return true;
    }
    void read_quoted(char16_t unit) {
        if (!escaped_ && unit == quote_)
            at_ = rest;
        else
            escaped_ = !escaped_ && unit == u'\\';
    }

    place at_ = name;
    char16_t quote_ = 0;
    bool escaped_ = false;
};

} // namespace

base_stand_in stand_in_for(wstring_view base) {
    tag_state state;
    for (std::size_t i = 0; i < base.size(); ++i) {
        if (!state.read(base[i])) return {u"h>", base.size() - i - 1};
    }
    return {state.shortest(), 0};
}

} // namespace tackle::html
