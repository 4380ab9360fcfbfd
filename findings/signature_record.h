#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "foundation/text/text.h"

namespace brimwarden::analysis {

// A short value that stands for a property of a message, and what the community knows of it. Generators write the
// first three fields, the community client everything from `matched` to `touches`, scoring the last two.
//
//   hsi  the address a message came from, as a dotted IPv4 address
//   tru  a link, its host labels reversed
//   tbd  tlc  tsd  the displayed text: the words of a block, their lengths, the structure
//   prd  the bytes of a part
//   pid  known to the community alone; no generator makes it
struct signature_record {
    signature_record(tackle::wstring_view tag, tackle::wstring text) : type(tag), value(std::move(text)) {}

    tackle::wstring_view type; // always a literal, one of the tags above
    // The community may know the beginning of a value only: its answer then cuts the value to that beginning.
    tackle::wstring value;
    tackle::wstring details; // how the value came about, if the list was told to say; no trace line shows it

    bool matched = false; // the community knows the value
    bool ignored = false;
    bool whitelisted = false;
    bool blacklisted = false;
    std::uint64_t id = 0; // the community's number for it
    std::uint64_t age = 0;
    std::uint64_t reports = 0;
    std::uint64_t revokes = 0;
    std::uint64_t touches = 0;

    float relevance = 0.0F; // 0 to 100: how far the reports outweigh the revokes
    float weight = 100.0F;  // stays so for a "tru" of high relevance; scoring sets it for everything else
};

// In the order of generation, until the pipeline sorts it and takes out the duplicates.
class signature_list : public std::vector<signature_record> {
public:
    // Whether generators fill `details`. Of a text of different words they are many times its size, so only who shows
    // them sets this, before anything is generated.
    bool with_details = false;
};

// The standard digest of a signature: MD5 in base64 without padding, 22 characters.
[[nodiscard]] tackle::wstring digest_text(tackle::string_view bytes);

// A number in base 64, the highest digit first and without leading zeros, which are written "A"; zero itself is "A".
[[nodiscard]] tackle::wstring digit_string(std::uint64_t number);

} // namespace brimwarden::analysis
