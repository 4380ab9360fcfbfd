#include "platform/file.h"

#include "platform/heap.h"
#include "platform/process.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace tackle::platform {
namespace {

// A name of its own for each test, outside ASCII and the first plane, and gone with the test.
class scratch_file {
public:
    explicit scratch_file(const std::u16string& end = u"")
        : path_(std::filesystem::temp_directory_path() /
                std::filesystem::path(u"brmx \u00E9\u65E5\U0001F600 " + test_name() + end)) {}
    ~scratch_file() { std::filesystem::remove(path_); }
    std::u16string name() const { return path_.u16string(); }
    const std::filesystem::path& path() const { return path_; }

private:
    static std::u16string test_name() {
        const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
        return {name.begin(), name.end()};
    }
    std::filesystem::path path_;
};

// On Linux; on Windows a file that is still open cannot be removed.
std::ptrdiff_t open_descriptors() {
    std::error_code no_such_folder;
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd", no_such_folder), {});
}

TEST(file, comes_back_as_written_and_is_closed) {
    const scratch_file file;
    const auto open_before = open_descriptors();
    std::string all_bytes;
    for (int i = 0; i < 100'000; ++i)
        all_bytes += static_cast<char>(i);
    for (const std::string& bytes : {all_bytes, std::string("short\r\n\x1A"), std::string()}) { // a longer one is cut
        ASSERT_EQ(write_whole_file(file.name(), bytes), file_result::ok);
        std::string read = "left over";
        ASSERT_EQ(read_whole_file(file.name(), read), file_result::ok);
        EXPECT_EQ(read, bytes);
        EXPECT_EQ(std::filesystem::file_size(file.path()), bytes.size());
    }
    EXPECT_EQ(open_descriptors(), open_before);
}

TEST(file, is_refused_where_there_is_none) {
    const scratch_file file(u"\uFFFD");
    ASSERT_EQ(write_whole_file(file.name(), "there"), file_result::ok);
    const auto directory = std::filesystem::temp_directory_path().u16string();
    const struct {
        const char* label;
        std::u16string path;
    } cases[] = {
        {"no such file", directory + u"/brmx no such file"},
        {"a directory", directory},
        {"no name", u""},
        {"a NUL that would hide the rest", file.name() + u'\0' + u".txt"},
        {"a lone surrogate where the file has U+FFFD",
         file.name().substr(0, file.name().size() - 1) + char16_t{0xDC00}},
    };
    for (const auto& c : cases) {
        std::string bytes;
        EXPECT_EQ(read_whole_file(c.path, bytes), file_result::open_failed) << c.label;
    }
    EXPECT_EQ(write_whole_file(directory + u"/brmx no such directory/file", "x"), file_result::open_failed);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which have a heap of their own
TEST(heap, sees_a_large_block_come_and_go) {
    constexpr std::uint32_t large = 64 * 1024 * 1024;
    const auto before = report_heap();
    auto block = std::make_unique<char[]>(large);
    const auto during = report_heap();
    block.reset();
    const auto after = report_heap();
    EXPECT_GE(during.used_bytes - before.used_bytes, large);
    EXPECT_LT(after.used_bytes - before.used_bytes, large / 2);
    EXPECT_GT(during.used_blocks, before.used_blocks);
}
#endif

TEST(process, is_named_by_its_program) { EXPECT_NE(process_file_name().find("test_foundation"), std::string::npos); }

} // namespace
} // namespace tackle::platform
