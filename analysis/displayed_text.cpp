#include "analysis/displayed_text.h"

#include "foundation/coding.h"
#include "foundation/unicode.h"
#include "message/header_type/parametized_value_type.h"

namespace brimwarden::analysis {

using tackle::string;
using tackle::internet::message2::part;

string named_charset(const part& part) {
    tackle::internet::message2::header_type::parametized_value_type type;
    string charset;
    part.get_header("Content-Type", type);
    type.get_parameter("charset", charset);
    return charset;
}

displayed_text read_displayed_text(const part& shown, const part& root) {
    displayed_text result;
    const auto read = [&] {
        string charset = named_charset(shown);
        if (charset.empty() && &shown != &root) {
            charset = named_charset(root);
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

} // namespace brimwarden::analysis
