#pragma once

#include "analysis/links/uri_list.h"
#include "analysis/words/token_extraction.h"
#include "findings/test_result.h"
#include "foundation/text/text.h"
#include "html/text_set.h"
#include "message/part.h"

// Finds the web addresses that a message points at and turns each into a signature, "tru": the host's labels from the
// last to the first, and some of the path, "com.example.www/a b". All of it takes time in proportion to the text (n log
// n for many addresses) and no stack to speak of, whatever the text holds.
//
// A scan calls these in the order in which they stand here, with one list, and moves it to its signatures at the end.
namespace brimwarden::analysis {

// The links of the HTML, but for those that name an attached file of the message.
void scan_links(const tackle::internet::message2::part& root, const tackle::html::text_set& links, uri_list& uris);

// Addresses in running text, which has been normalised. Brackets and quotes around an address end it; one that is never
// closed ends the scan.
void scan_text_for_uris(tackle::wstring_view text, uri_list& uris);

// Whether a normalised text has a "www" among its words of dot_mode, maybe in a link: false for most texts, and cheaper
// than to cut such a text into words in which scan_spoken_uris finds nothing.
[[nodiscard]] bool may_spell_uris(tackle::wstring_view text);

// Addresses spelled out in words, "www dot example dot com", among words of dot_mode.
void scan_spoken_uris(const token_list& tokens, uri_list& uris);

// Takes out the addresses at the domain of the first recipient. A To field that can't be read takes out none.
void drop_recipient_domain(const tackle::internet::message2::part& root, uri_list& uris);

// Whether a link's value is at a host where anybody can put a page, or in a country's zone open to anybody.
[[nodiscard]] bool is_bulk_uri(tackle::wstring_view value);

// Finds addresses at hosts where anybody can put a page, unless the community has spoken about them: the first of them
// counts. For the signatures as the community has completed them.
void check_bulk_uris(const signature_list& signatures, test_result_list& test_results);

} // namespace brimwarden::analysis
