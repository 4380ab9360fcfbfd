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
    signature_record(tackle::wstring tag, tackle::wstring text) : type(std::move(tag)), value(std::move(text)) {}

    tackle::wstring type; // one of the tags above
    // The community may know the beginning of a value only: its answer then cuts the value to that beginning.
    tackle::wstring value;
    tackle::wstring details; // how the value came about; no trace line shows it

    bool matched = false; // the community knows the value
    std::uint64_t id = 0; // the community's number for it
    std::uint64_t age = 0;
    bool ignored = false;
    bool whitelisted = false;
    bool blacklisted = false;
    std::uint64_t reports = 0;
    std::uint64_t revokes = 0;
    std::uint64_t touches = 0;

    float relevance = 0.0F; // 0 to 100: how far the reports outweigh the revokes
    float weight = 100.0F;  // stays so for a "tru" of high relevance; scoring sets it for everything else
};

// In the order of generation, until the pipeline sorts it and takes out the duplicates.
using signature_list = std::vector<signature_record>;

// The standard digest of a signature: MD5 in base64 without padding, 22 characters.
[[nodiscard]] tackle::wstring digest_text(tackle::string_view bytes);

// A number in base 64, the highest digit first and without leading zeros, which are written "A"; zero itself is "A".
[[nodiscard]] tackle::wstring digit_string(std::uint64_t number);

} // namespace brimwarden::analysis
