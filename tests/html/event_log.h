#pragma once

#include "html/reader.h"

#include <string>

namespace tackle::html {

// Writes down the events of a parse in the order in which they come, one letter and the text in brackets for each.
class event_log final : public reader {
public:
    explicit event_log(entity_answer answer = entity_answer::understood) : answer_(answer) {}

    wstring events;

    void on_begin(std::size_t length) override { length_ = length; }
    void on_tag(wstring_view name) override { add(u"tag", name); }
    void on_tag_end(wstring_view name) override { add(u"end", name); }
    void on_attribute(wstring_view name, wstring_view value) override {
        add(u"attr", wstring(name) + u"|" + wstring(value));
    }
    void on_flag_attribute(wstring_view name) override { add(u"flag", name); }
    void on_text(wstring_view text) override { add(u"text", text); }
    entity_answer on_entity(wstring_view name) override {
        add(u"entity", name);
        return answer_;
    }

    [[nodiscard]] std::size_t length() const { return length_; }

private:
    void add(wstring_view event, wstring_view text) {
        events += event;
        events += u'[';
        events += text;
        events += u']';
    }

    entity_answer answer_;
    std::size_t length_ = SIZE_MAX;
};

} // namespace tackle::html
