#pragma once

#include <utility>
#include <vector>

#include "foundation/text.h"

namespace brimwarden::analysis {

// One finding of a test. A test appends it with its name and its points and completes the last element of the list:
//
//     results.emplace_back(u"Header.From.Trusted", 0.0F);
//     results.back().details = u"Message is from trusted sender";
//     results.back().whitelist = true;
struct test_result {
    test_result(tackle::wstring_view test, float points) : name(test), value(points) {}

    tackle::wstring_view name; // always a literal: every test has one fixed, dotted name
    tackle::wstring details;   // free text for the trace
    bool whitelist = false;    // declares the message clean, whatever else was found
    bool blacklist = false;    // declares the message spam, unless something declares it clean
    float value;               // points of probability, added in the order of the findings; 0 for a mere note
};

// Never reordered: a declaration takes effect from its place on.
using test_result_list = std::vector<test_result>;

} // namespace brimwarden::analysis
