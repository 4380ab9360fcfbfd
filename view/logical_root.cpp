#include "view/logical_root.h"

#include "foundation/text/strings.h"

namespace brimwarden::analysis {

using tackle::internet::message2::part;

namespace {

// What the first nested message holds, or null. An attached message that could not be parsed any further has no child.
const part* wrapped_message(const part& message) {
    std::vector<const part*> found;
    message.find_parts(found, false, "message/rfc822");
    if (found.empty() || found.front()->children().empty()) return nullptr;
    return found.front()->children().front().get();
}

bool is_delivery_report(const part& message) {
    if (message.content_type() == "multipart/report") return true;
    std::vector<const part*> found;
    message.find_parts(found, true, "message/delivery-status"); // one inside a nested message tells about that message
    return !found.empty();
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
