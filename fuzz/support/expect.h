#pragma once

#include <cstdio>
#include <cstdlib>

// Ends a fuzz target with a finding, unless `holds`, and says where.
#define EXPECT(holds)                                                                                                  \
    do {                                                                                                               \
        if (!(holds)) {                                                                                                \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #holds);                                   \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)
