#include "language/language_query.h"

#include "message/header_type/unstructured_value_type.h"
#include "view/displayed_text.h"
#include "view/if_readable.h"
#include "view/logical_root.h"

namespace brimwarden::language {

namespace {

using tackle::wstring;
using tackle::internet::message2::part;

wstring text_of(const part& displayable, const part& root) {
    wstring text = analysis::read_displayed_text(displayable, root).text;
    analysis::resolve_markup(displayable, text);
    return text;
}

// An unreadable Subject counts as none.
void prepend_subject(const part& root, wstring& text) {
    analysis::if_readable([&] {
        tackle::internet::message2::header_type::unstructured_value_type subject;
        if (root.get_header("Subject", subject)) text = subject.value() + u" " + text;
    });
}

} // namespace

void detect_message_language(language_query& query, const plugins::generic::plugin& plugin) {
    const part& root = analysis::logical_root_for_language(*query.message);
    const part* const displayable = root.find_displayable();
    query.trace.append(0, u"Message Parts:");
    query.trace.list_parts(*query.message, &root, displayable);
    query.trace.append(0, u"");
    if (displayable == nullptr) return query.trace.append(0, u"No displayable text part found in message");
    if (displayable->data().size() > analysis::largest_displayed_part)
        return query.trace.append(0, u"Part is too large for fast processing");
    wstring text = text_of(*displayable, root);
    prepend_subject(root, text);
    plugin.detect(text, query.results, query.target, query.trace);
}

} // namespace brimwarden::language
