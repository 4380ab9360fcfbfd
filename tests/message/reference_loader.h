#pragma once

#include "message/part.h"

#include <utility>

namespace tackle::internet::message2 {

// A part as the reference loader makes it.
struct plain_part {
    std::vector<std::pair<string, string>> headers;
    string content_type = "text/plain";
    string charset = "iso-8859-1";
    string boundary;
    string data;
    std::list<plain_part> children;
};

// The rules of loading in their plainest form: a list of lines, one recursion for parts within parts, each stretch
// walked once at each depth. Slow on purpose, and sharing nothing with the loader but header values.
plain_part load_by_reference(const string& message);

// The same parts, written one field a line for comparison.
string describe(const plain_part& node);
string describe(const part& node);

} // namespace tackle::internet::message2
