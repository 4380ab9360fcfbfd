#pragma once

#include "foundation/text/text.h"

#include <optional>

namespace tackle::internet::message2::header_type {

// What a Content-Type has to say; all in UTF-8.
struct content_type_model {
    string_view type;
    string_view charset;  // none if empty
    string_view boundary; // whatever the field says if empty
};

// The raw value with type, charset and boundary as the model has them: every parameter in quotes, those beyond ASCII in
// encoded words of the charset that the field ends with. A parameter that can't be read, or does not fit that charset,
// keeps its raw form: a message that can be loaded can be written. Nullopt if the type does not fit, or if all would be
// longer than `limit`: the name of one charset can be long, and many short words written with it.
[[nodiscard]] std::optional<string> rebuild_content_type(string_view raw, const content_type_model& model,
                                                         std::size_t limit);

} // namespace tackle::internet::message2::header_type
