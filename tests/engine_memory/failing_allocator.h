#pragma once

#include <cstdint>

// The allocator of the whole test program, which is also that of the library, of ICU and of OpenSSL: all take it from
// the process. It counts the blocks, and fails when it is told to.
namespace failing_allocator {

enum class scope : std::uint8_t { calling_thread, process };
enum class length : std::uint8_t { once, until_the_end };

// While it lives, allocation number `first` fails, counted from 1; with until_the_end, each one behind it as well. One
// at a time in the process.
class failure {
public:
    failure(std::uint64_t first, scope where, length how_long);
    ~failure();
    failure(const failure&) = delete;
    failure& operator=(const failure&) = delete;

    [[nodiscard]] bool happened() const;

private:
    std::uint64_t first_;
};

// Blocks of the process that were allocated and not freed yet.
[[nodiscard]] std::int64_t live_blocks();

} // namespace failing_allocator
