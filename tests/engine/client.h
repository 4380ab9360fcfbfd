#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "include/brmx.h"

// What a client of the library has: the public header and nothing else.
namespace client {

using text = std::basic_string<brmx_char>;
using line = std::pair<std::uint32_t, std::string>; // the low bytes of the units; the tests' own messages give ASCII

inline text wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

inline std::uint32_t open(std::string_view message) {
    std::uint32_t handle = 0;
    EXPECT_EQ(BRMX_Session_CreateFromMemory(message.data(), static_cast<std::uint32_t>(message.size()), &handle),
              status_ok);
    return handle;
}

// By the two calls that the buffer convention asks for; empty after the end.
inline std::vector<line> trace_of(std::uint32_t handle) {
    std::vector<line> lines;
    for (std::uint32_t index = 0;; ++index) {
        std::uint32_t indent = 0;
        std::uint32_t length = 0;
        brmx_char none = 0;
        auto status = BRMX_Session_GetLastTrace(handle, index, &indent, nullptr, &length);
        if (status == index_out_of_range) return lines;
        EXPECT_EQ(status, buffer_too_small);
        text content(length, 0);
        status = BRMX_Session_GetLastTrace(handle, index, &indent, length == 0 ? &none : content.data(), &length);
        EXPECT_EQ(status, status_ok);
        lines.emplace_back(indent, std::string(content.begin(), content.end()));
        if (status != status_ok) return lines;
    }
}

// A running engine and sessions that end with their test.
class engine : public testing::Test {
protected:
    static void SetUpTestSuite() { BRMX_Engine_Initialize(); } // the engine runs once in a process, so never shut down

    std::uint32_t open_session(std::string_view message) {
        handles_.push_back(open(message));
        return handles_.back();
    }
    void TearDown() override {
        for (const auto handle : handles_)
            BRMX_Session_Destroy(handle); // one that the test has destroyed is unknown by now
    }

private:
    std::vector<std::uint32_t> handles_;
};

} // namespace client
