#include "tests/engine_memory/failing_allocator.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

// The C library's own allocator, behind the names that this file takes.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {

std::atomic<std::int64_t> live{0};
std::atomic<std::uint64_t> count{0};
std::atomic<std::uint64_t> first_failing{0}; // 0 for none
std::atomic<bool> lasting{false};
std::atomic<bool> for_all{false};
thread_local bool failing_thread = false;

bool fails() {
    const std::uint64_t first = first_failing.load();
    if (first == 0 || (!failing_thread && !for_all.load())) return false;
    const std::uint64_t number = ++count;
    if (number < first || (number > first && !lasting.load())) return false;
    errno = ENOMEM;
    return true;
}

void* counted(void* block) {
    if (block != nullptr) ++live;
    return block;
}

} // namespace

extern "C" {

void* malloc(std::size_t size) { return fails() ? nullptr : counted(__libc_malloc(size)); }

void* calloc(std::size_t number, std::size_t size) { return fails() ? nullptr : counted(__libc_calloc(number, size)); }

void* realloc(void* block, std::size_t size) {
    if (block == nullptr) return malloc(size);
    if (fails()) return nullptr;
    void* const moved = __libc_realloc(block, size);
    if (moved == nullptr && size == 0) --live;
    return moved;
}

void* memalign(std::size_t alignment, std::size_t size) {
    return fails() ? nullptr : counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    void* const made = memalign(alignment, size);
    if (made == nullptr) return ENOMEM;
    *block = made;
    return 0;
}

void free(void* block) {
    if (block != nullptr) --live;
    __libc_free(block);
}
}

namespace failing_allocator {

failure::failure(std::uint64_t first, scope where, length how_long) : first_(first) {
    count = 0;
    lasting = how_long == length::until_the_end;
    for_all = where == scope::process;
    failing_thread = true;
    first_failing = first;
}

failure::~failure() {
    first_failing = 0;
    failing_thread = false;
}

bool failure::happened() const { return count >= first_; }

std::int64_t live_blocks() { return live; }

} // namespace failing_allocator
