#include "tests/engine/client.h"

namespace {

using client::text;

text wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// The two buffers are one unit: unless both fit, neither is written and both lengths are.
TEST(version, is_handed_out_whole_or_not_at_all) {
    constexpr std::uint32_t none = 0xFFFFFFFF; // a null buffer
    const struct {
        const char* label;
        std::uint32_t version_size, build_size;
        engine_status status;
    } cases[] = {
        {"both null", none, none, buffer_too_small},
        {"exact", 7, 22, status_ok},
        {"roomy", 30, 30, status_ok},
        {"build one short", 7, 21, buffer_too_small},
        {"version one short", 6, 22, buffer_too_small},
        {"no version buffer", none, 22, buffer_too_small},
        {"no build buffer", 7, none, buffer_too_small},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        text version = wide("##############################");
        text build = version;
        const text untouched = version;
        std::uint32_t version_length = c.version_size == none ? 30 : c.version_size;
        std::uint32_t build_length = c.build_size == none ? 30 : c.build_size;
        EXPECT_EQ(BRMX_Engine_GetVersion(c.version_size == none ? nullptr : version.data(), &version_length,
                                         c.build_size == none ? nullptr : build.data(), &build_length),
                  c.status);
        EXPECT_EQ(version_length, 7U);
        EXPECT_EQ(build_length, 22U);
        const bool written = c.status == status_ok;
        EXPECT_EQ(version, written ? wide("3.7.0.3") + untouched.substr(7) : untouched);
        EXPECT_EQ(build, written ? wide("TRUNK X64 RELEASE SRTL") + untouched.substr(22) : untouched);
    }
    std::uint32_t length = 0;
    EXPECT_EQ(BRMX_Engine_GetVersion(nullptr, nullptr, nullptr, &length), null_argument);
}

TEST(compatibility, takes_the_whole_build_text_exactly) {
    const struct {
        const char* label;
        const char* build;
        engine_status status;
    } cases[] = {
        {"the same", "TRUNK X64 RELEASE SRTL", status_ok},
        {"case", "TRUNK X64 RELEASE SRTl", build_mismatch},
        {"one blank more", "TRUNK X64 RELEASE SRTL ", build_mismatch},
        {"one letter less", "TRUNK X64 RELEASE SRT", build_mismatch},
        {"empty", "", build_mismatch},
    };
    for (const auto& c : cases) {
        const auto build = wide(c.build);
        EXPECT_EQ(BRMX_Engine_VerifyCompatibility(build.data(), static_cast<std::uint32_t>(build.size())), c.status)
            << c.label;
    }
    EXPECT_EQ(BRMX_Engine_VerifyCompatibility(nullptr, 22), null_argument);
}

TEST(heap_information, sees_a_large_block) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer brings an allocator of its own";
#endif
    std::uint32_t blocks = 0, before = 0, after = 0;
    EXPECT_EQ(BRMX_Engine_GetHeapInformation(&blocks, &before, nullptr, nullptr), status_ok);
    EXPECT_GT(blocks, 0U);
    const std::vector<char> block(64U << 20U, 'x');
    EXPECT_EQ(BRMX_Engine_GetHeapInformation(nullptr, &after, nullptr, nullptr), status_ok);
    EXPECT_GE(after - before, block.size() / 2); // others allocate and free meanwhile
}

} // namespace
