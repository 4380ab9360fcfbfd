// Counts the allocations of a benchmark program by replacing operator new; the other forms of new end in these two.
#include "benchmarks/yardstick.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> count{0};

} // namespace

namespace brimwarden::benchmarks {

std::uint64_t allocations() noexcept { return count.load(std::memory_order_relaxed); }

} // namespace brimwarden::benchmarks

void* operator new(std::size_t size) {
    count.fetch_add(1, std::memory_order_relaxed);
    void* const block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept { std::free(block); }

void operator delete(void* block, std::size_t) noexcept { std::free(block); }
