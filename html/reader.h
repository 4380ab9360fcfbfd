#pragma once

#include "foundation/text/text.h"

#include <cstddef>

namespace tackle::html {

// What a handler made of an entity reference.
enum class entity_answer {
    unknown,    // not understood: vanishes with its semicolon, and is text without one
    understood, // dealt with
    unreadable, // nothing that could be understood: text as it stands, semicolon and all
};

// The receiver of parse: one operation for each event, each with a default that ignores it. The views are good during
// the call only. What an operation throws passes through parse.
class reader {
public:
    reader() = default;
    reader(const reader&) = default;
    reader(reader&&) = default;
    reader& operator=(const reader&) = default;
    reader& operator=(reader&&) = default;
    virtual ~reader() = default;

    // Once, before anything else: the length of the whole text in 16-bit units.
    virtual void on_begin(std::size_t length);
    // The name as written, with what is stuck to it: "P", "/p", "!--", "br/"; empty for a "<" before a blank.
    virtual void on_tag(wstring_view name);
    // At the closing ">"; a tag that the text breaks off has none.
    virtual void on_tag_end(wstring_view name);
    // Name as written, value without its quotes and backslashes.
    virtual void on_attribute(wstring_view name, wstring_view value);
    // An attribute without a value. Each superfluous blank in a tag gives one without a name as well.
    virtual void on_flag_attribute(wstring_view name);
    // A stretch between two other events; may be empty, and consecutive ones belong together.
    virtual void on_text(wstring_view text);
    // The name between "&" and ";" or whatever ends it.
    virtual entity_answer on_entity(wstring_view name);
};

// Walks any text once, from front to back, and reports what it meets. There is no tree, no nesting and no knowledge of
// elements: a comment is a tag "!--" that the first ">" ends, and the content of a script is text. Nothing is refused;
// broken markup only means that some events do not occur. No state remains, so one handler may be used again.
void parse(wstring_view text, reader& handler);

} // namespace tackle::html
