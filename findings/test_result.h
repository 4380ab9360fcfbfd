#pragma once

#include <utility>
#include <vector>

#include "foundation/text/text.h"

namespace brimwarden::analysis {

// One finding of a test.
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

// Appends a finding, which the caller may complete; good until the next one.
//
//     add(results, u"Header.From.Trusted", 0.0F, u"Message is from trusted sender").whitelist = true;
inline test_result& add(test_result_list& results, tackle::wstring_view name, float points, tackle::wstring details) {
    auto& added = results.emplace_back(name, points);
    added.details = std::move(details);
    return added;
}

} // namespace brimwarden::analysis
