#pragma once

#include <cstdio>
#include <cstdlib>

#include "tests/engine/client.h"

// The engine lives once in a process, so each of these lives runs in a process of its own. It ends without unloading
// anything: sessions that have outlived the engine cannot be destroyed any more.
template <typename life>
[[noreturn]] void live(const life& body) {
    const int wrong = body();
    if (wrong != 0) std::fprintf(stderr, "wrong status in line %d\n", wrong);
    std::fflush(stderr);
    std::_Exit(wrong == 0 ? 0 : 1);
}

#define EXPECT_LIFE(body) EXPECT_EXIT(live(body), testing::ExitedWithCode(0), "")
#define REQUIRE(condition)                                                                                             \
    if (!(condition)) return __LINE__

class lifecycle : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};
