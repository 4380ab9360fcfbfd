#include "view/logical_root.h"

#include "foundation/text/strings.h"
#include "message/part_walk.h"

namespace brimwarden::analysis {

using tackle::internet::message2::part;

namespace {

const part* find_first(const part& message, bool skip_nested, tackle::string_view type_prefix) {
    const part* first = nullptr;
    tackle::internet::message2::walk_parts(message, skip_nested, [&](const part& found) {
        if (found.content_type().starts_with(type_prefix)) first = &found;
        return first == nullptr;
    });
    return first;
}

// What the first nested message holds, or null. An attached message that could not be parsed any further has no child.
const part* wrapped_message(const part& message) {
    const part* const found = find_first(message, false, "message/rfc822");
    return found == nullptr || found->children().empty() ? nullptr : found->children().front().get();
}

bool is_delivery_report(const part& message) {
    if (message.content_type() == "multipart/report") return true;
    // One inside a nested message tells about that message.
    return find_first(message, true, "message/delivery-status") != nullptr;
}

// The flag is compared as it stands: the filter that this is about writes no blanks behind it.
bool is_wrapped_spam(const part& message) {
    if (message.content_type() != "multipart/mixed") return false;
    tackle::string flag;
    return message.get_header("X-Spam-Flag", flag) && tackle::iequals(flag, "yes");
}

} // namespace

const part& logical_root_for_language(const part& message) {
    if (is_delivery_report(message))
        if (const part* const returned = wrapped_message(message)) return *returned;
    return message;
}

const part& logical_root(const part& message) {
    const part& returned = logical_root_for_language(message);
    if (&returned != &message || !is_wrapped_spam(message)) return returned;
    const part* const wrapped = wrapped_message(message);
    return wrapped != nullptr ? *wrapped : message;
}

} // namespace brimwarden::analysis
