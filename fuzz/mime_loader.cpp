// Loads any bytes, renders the tree and loads that again. Nothing may fail but what the constructors of part name.
#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "message/part.h"

#include <cstdint>
#include <cstdlib>

using namespace tackle;
using internet::message2::part;

namespace {

template <typename function>
bool allowed(const function& body) {
    try {
        body();
        return true;
    } catch (const internet::message2::depth_limit&) {
    } catch (const unicode::generic&) {
    } catch (const coding::translate::generic&) {
    }
    return false;
}

// The depth of all parts, files in a part of the last depth aside.
void check_depth(const part& node, unsigned depth) {
    if (depth > part::deepest + 1) std::abort();
    for (const auto& child : node.children())
        check_depth(*child, depth + 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string message(reinterpret_cast<const char*>(data), size);
    allowed([&] {
        part root{string_view(message)};
        check_depth(root, 0);
        const part* const shown = root.find_displayable();
        std::vector<part*> parts;
        root.find_parts(parts, false, "");
        if (shown != nullptr && !shown->content_type().starts_with("text/")) std::abort();
        for (part* const each : parts) {
            allowed([&] { static_cast<void>(each->attachment_info()); });
            allowed([&] { static_cast<void>(each->text()); });
        }
        allowed([&] { part again{string_view(root.render_text())}; });
        const part copy(root);
        if (copy.children().size() != root.children().size()) std::abort();
    });
    return 0;
}
