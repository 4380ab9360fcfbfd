#include "html/reader.h"

#include "html/unit_class.h"

namespace tackle::html {

void reader::on_begin(std::size_t /*length*/) {}
void reader::on_tag(wstring_view /*name*/) {}
void reader::on_tag_end(wstring_view /*name*/) {}
void reader::on_attribute(wstring_view /*name*/, wstring_view /*value*/) {}
void reader::on_flag_attribute(wstring_view /*name*/) {}
void reader::on_text(wstring_view /*text*/) {}
entity_answer reader::on_entity(wstring_view /*name*/) { return entity_answer::understood; }

namespace {

class walk {
public:
    walk(wstring_view text, reader& handler)
        : at_(text.data()), end_(text.data() + text.size()), classes_(unit_classes()), handler_(handler) {}

    void run() {
        handler_.on_begin(static_cast<std::size_t>(end_ - at_));
        while (at_ != end_)
            read_text();
    }

private:
    // An attribute's name or value: a view of the text, and a copy only behind the first backslash.
    class stretch {
    public:
        explicit stretch(const char16_t* start) : start_(start) {}
        // Leaves out one unit at `at`, which is not yet part of the stretch.
        void skip(const char16_t* at) {
            copy_.append(start_, at);
            copied_ = true;
            start_ = at + 1;
        }
        // Good as long as the object.
        wstring_view upto(const char16_t* at) {
            if (!copied_) return wstring_view(start_, static_cast<std::size_t>(at - start_));
            copy_.append(start_, at);
            start_ = at;
            return copy_;
        }

    private:
        const char16_t* start_;
        wstring copy_;
        bool copied_ = false;
    };

    [[nodiscard]] bool at_white() const { return (classes_[*at_] & white_unit) != 0; }
    [[nodiscard]] bool at_quote() const { return *at_ == u'"' || *at_ == u'\''; }
    [[nodiscard]] static wstring_view view(const char16_t* from, const char16_t* to) {
        return {from, static_cast<std::size_t>(to - from)};
    }

    void read_text() {
        const auto* start = at_;
        while (at_ != end_ && *at_ != u'<' && *at_ != u'&')
            ++at_;
        handler_.on_text(view(start, at_));
        if (at_ == end_) return;
        if (*at_++ == u'<')
            read_tag();
        else
            read_entity();
    }

    void read_tag() {
        const auto* start = at_;
        while (at_ != end_ && *at_ != u'>' && !at_white())
            ++at_;
        if (at_ == end_) return;
        const auto name = view(start, at_);
        handler_.on_tag(name);
        while (at_ != end_) {
            if (*at_ == u'>') {
                ++at_;
                handler_.on_tag_end(name);
                return;
            }
            const bool attribute_follows = at_white();
            ++at_;
            if (attribute_follows) read_attribute();
        }
    }

    void read_attribute() {
        if (at_ != end_ && at_quote()) {
            // A name in quotes never gets a value: its closing quote ends the attribute.
            const auto quote = *at_++;
            stretch name(at_);
            if (skip_to_quote(quote, name)) handler_.on_flag_attribute(name.upto(at_));
            return;
        }
        const auto* start = at_;
        for (; at_ != end_; ++at_) {
            if (*at_ == u'/') {
                ++at_;
                return;
            }
            if (*at_ == u'=') {
                const auto name = view(start, at_);
                ++at_;
                read_value(name);
                return;
            }
            if (*at_ == u'>' || at_white()) {
                handler_.on_flag_attribute(view(start, at_));
                return;
            }
        }
    }

    void read_value(wstring_view name) {
        if (at_ == end_) return;
        if (at_quote()) {
            const auto quote = *at_++;
            stretch value(at_);
            const bool closed = skip_to_quote(quote, value);
            handler_.on_attribute(name, value.upto(at_));
            if (closed) ++at_;
            return;
        }
        const auto* start = at_;
        while (at_ != end_ && *at_ != u'>' && !at_white())
            ++at_;
        handler_.on_attribute(name, view(start, at_));
    }

    // Stops at the quote, or at the end of the text and then answers false.
    bool skip_to_quote(char16_t quote, stretch& content) {
        while (at_ != end_ && *at_ != quote) {
            if (*at_ == u'\\') {
                content.skip(at_);
                if (++at_ == end_) break;
            }
            ++at_;
        }
        return at_ != end_;
    }

    void read_entity() {
        if (at_ == end_) return;
        const auto* start = at_;
        while (at_ != end_ && (classes_[*at_] & name_unit) != 0)
            ++at_;
        const auto name = view(start, at_);
        const auto answer = handler_.on_entity(name);
        const bool closed = at_ != end_ && *at_ == u';';
        const bool is_text =
            answer == entity_answer::unreadable || (answer == entity_answer::unknown && at_ != end_ && !closed);
        if (is_text) {
            handler_.on_text(u"&");
            handler_.on_text(name);
        } else if (closed) {
            ++at_;
        }
    }

    const char16_t* at_;
    const char16_t* end_;
    const std::uint8_t* classes_;
    reader& handler_;
};

} // namespace

void parse(wstring_view text, reader& handler) { walk(text, handler).run(); }

} // namespace tackle::html
