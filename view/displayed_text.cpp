#include "view/displayed_text.h"

#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "message/header_type/parametized_value_type.h"
#include "view/if_readable.h"

namespace brimwarden::analysis {

using tackle::string;
using tackle::internet::message2::part;

displayed_text read_displayed_text(const part& shown, const part& root) {
    displayed_text result;
    const auto read = [&] {
        string charset = shown.named_charset().value_or("");
        if (charset.empty() && &shown != &root) {
            charset = root.named_charset().value_or("");
            result.charset_inherited = !charset.empty();
        }
        result.text = tackle::unicode::to_wide(shown.data(), tackle::unicode::code_page_of(charset));
    };
    // A Content-Type that cannot be decoded is no better than a body that cannot, whichever decoder refused.
    try {
        read();
        return result;
    } catch (const tackle::unicode::generic& failure) {
        result.conversion_error = failure.what();
    } catch (const tackle::coding::translate::generic& failure) {
        result.conversion_error = failure.what();
    }
    result.text = tackle::unicode::to_wide(shown.data(), tackle::unicode::raw_code_page);
    return result;
}

tackle::html::text_set resolve_markup(const part& shown, tackle::wstring& text) {
    if (shown.content_type() != "text/html") return {};
    tackle::html::convert_to_text converter(false);
    parse(text, converter);
    if (!converter.tags.contains(u"body")) {
        converter = tackle::html::convert_to_text(true);
        parse(text, converter);
    }
    text = std::move(converter.text);
    return std::move(converter.links);
}

} // namespace brimwarden::analysis
