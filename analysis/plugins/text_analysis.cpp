#include "analysis/plugins/text_analysis.h"

#include "analysis/links/uri_extraction.h"
#include "analysis/words/content_signatures.h"
#include "analysis/words/token_extraction.h"
#include "foundation/text/format.h"
#include "foundation/text/unicode.h"
#include "message/header_type/unstructured_value_type.h"
#include "view/displayed_text.h"
#include "view/has_printable.h"
#include "view/if_readable.h"

#include <algorithm>

namespace brimwarden::analysis::plugins::text_analysis {

using tackle::wstring;
using tackle::wstring_view;
using tackle::internet::message2::part;

namespace {

// All in 16-bit units.
constexpr std::size_t longest_noise_free = 64; // no test for noise up to here
constexpr std::size_t short_text = 128;
constexpr std::size_t uri_scan_limit = 65536; // running text from here on is not searched for addresses

wstring widen(tackle::string_view text) { return tackle::unicode::to_wide(text, tackle::unicode::raw_code_page); }

displayed_text read_text(const part& shown, const part& root, test_result_list& results) {
    auto read = read_displayed_text(shown, root);
    if (read.charset_inherited) {
        add(results, u"Part.Text.Charset_Inheritance", 50.0F, u"Message body character set was inherited from root");
    }
    if (!read.conversion_error.empty()) {
        add(results, u"Part.Text.Unicode_Conversion", 40.0F,
            tackle::format(u"Error: %s Character Set: %s", widen(read.conversion_error), widen(shown.charset())));
    }
    return read;
}

// Looks at the text before HTML is resolved, and at the charset that the part itself names: one that was inherited from
// the root is none here.
void test_noise(const part& shown, wstring_view text, test_result_list& results) {
    if (text.size() <= longest_noise_free || shown.named_charset()) return;
    const auto high = std::ranges::count_if(text, [](char16_t unit) { return unit > 127; });
    if (static_cast<std::size_t>(high) <= text.size() / 2) return;
    add(results, u"Part.Text.High_Bit_Noise", 90.0F,
        u"Message body has no character set information but contains a large amount of \"high bit\" characters");
}

void add_too_large(test_result_list& results) {
    add(results, u"Part.Text.Too_Large", 0.0F, u"Part is too large for fast processing");
}

// A message that shows nothing is read by its Subject, which may be as long as a displayed part: what is left of a
// longer one is its finding.
void test_length(const part& root, wstring& text, test_result_list& results) {
    if (has_printable(text)) {
        if (text.size() < short_text) add(results, u"Part.Text.Short", 10.0F, u"Message body is short");
        return;
    }
    if_readable([&] {
        tackle::internet::message2::header_type::unstructured_value_type subject;
        if (root.get_header("Subject", subject)) text = subject.take_value();
    });
    add(results, u"Part.Text.Empty", has_printable(text) ? 20.0F : 50.0F,
        u"Message body contains no printable characters");
    if (text.size() <= largest_displayed_part) return;
    add_too_large(results);
    text.clear();
}

// The order counts: the token that an address customization takes out is missing from the signatures behind it, and the
// recipient's own domain leaves the links when all of them are found.
void reduce(const part& root, wstring& text, const tackle::html::text_set& links, signature_list& signatures,
            test_result_list& results, trace_list& trace) {
    normalise_text(text);
    token_list tokens;
    tokenise(text, tokens, word_mode);
    check_address_customization(root, tokens, results);
    folded_token_list folded;
    fold_tokens(tokens, folded);
    generate_block_signatures(folded, tokens, signatures, trace);
    generate_length_signatures(folded, signatures, trace);
    generate_structure_signatures(folded, signatures, trace);
    check_diagnostics(text, results);
    uri_list uris(signatures.with_details);
    if (!links.empty()) scan_links(root, links, uris);
    if (text.size() < uri_scan_limit) scan_text_for_uris(text, uris);
    if (may_spell_uris(text)) {
        tokenise(text, tokens, dot_mode);
        scan_spoken_uris(tokens, uris);
    }
    drop_recipient_domain(root, uris);
    uris.move_to(signatures);
}

} // namespace

void plugin::generate(const part& root, signature_list& signatures, test_result_list& test_results, trace_list& trace) {
    const part* const shown = root.find_displayable();
    if (shown == nullptr) {
        add(test_results, u"Message.Not_Displayable", 20.0F, u"No displayable text part found in message");
        return;
    }
    if (shown->data().size() > largest_displayed_part) {
        add_too_large(test_results);
        return;
    }
    auto text = read_text(*shown, root, test_results).text;
    test_noise(*shown, text, test_results);
    const auto links = resolve_markup(*shown, text);
    test_length(root, text, test_results);
    reduce(root, text, links, signatures, test_results, trace);
}

void plugin::apply(const part&, signature_list& signatures, test_result_list& test_results, trace_list&) {
    check_bulk_uris(signatures, test_results);
}

} // namespace brimwarden::analysis::plugins::text_analysis
