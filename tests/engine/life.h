#pragma once

#include <cstdio>
#include <cstdlib>

#include "tests/engine/client.h"

// The engine runs once in a process, so each of these lives runs in a process of its own. It ends without unloading
// anything: sessions that have outlived the engine cannot be destroyed any more.
[[noreturn]] inline void live(void (*body)()) {
    body();
    const auto& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int i = 0; i < result.total_part_count(); ++i)
        if (const auto& part = result.GetTestPartResult(i); part.failed())
            std::fprintf(stderr, "%s:%d: %s\n", part.file_name(), part.line_number(), part.message());
    std::fflush(nullptr);
    std::_Exit(result.Failed() ? 1 : 0);
}

#define EXPECT_LIFE(body)                                                                                              \
    GTEST_FLAG_SET(death_test_style, "threadsafe");                                                                    \
    EXPECT_EXIT(live(body), testing::ExitedWithCode(0), "")
