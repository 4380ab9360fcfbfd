#pragma once

#include "message/line_search.h"

// The bodies of parts on their way from lines to data.
namespace tackle::internet::message2 {

// Lines are decoded together until their lengths add up to a multiple of four, whatever bytes they hold; bits that are
// left over then are dropped. That decides what comes of a body with a damaged line, and how much of it.
void decode_base64_body(const line_stretch& lines, string& out);

// A line that ends in "=" goes on in the next one, all others get CR LF. What can't be decoded stays as it is.
void decode_quoted_printable_body(const line_stretch& lines, string& out);

// A file in a text, from its line "begin mode name" to one that begins with "end".
struct uuencoded_block {
    string_view name;   // all behind the second blank of the first line, undecoded
    line_stretch lines; // the encoded ones
    line_stretch rest;  // all behind the last line
};
// Takes lines of which the first begins with "begin". False if they begin no block: a blank or a mode is missing, or a
// line that is empty or can't be decoded stands before the end, or there is no end.
[[nodiscard]] bool find_uuencoded_block(const line_stretch& lines, uuencoded_block& block);
// The first byte of a line, its length in the coding, is not looked at: the line yields what the rest of it holds.
[[nodiscard]] string decode_uuencoded_block(const line_stretch& lines);

} // namespace tackle::internet::message2
