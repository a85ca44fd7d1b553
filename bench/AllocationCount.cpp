#include "bench/AllocationCount.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

// The C library's own entries behind the names that are taken over below.
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
}

namespace
{

std::atomic<std::uint64_t> g_count{0};

void count()
{
    g_count.fetch_add(1, std::memory_order_relaxed);
}

// A count that stands still would read as a perfect result.
const bool g_counts = [] {
    const std::uint64_t before = g_count.load();
    void *memory = std::malloc(1);
    benchmark::DoNotOptimize(memory);
    std::free(memory);
    if (g_count.load() == before)
        std::abort();
    return true;
}();

} // namespace

namespace bench
{

std::uint64_t allocationCount()
{
    return g_count.load(std::memory_order_relaxed);
}

} // namespace bench

#pragma GCC visibility push(default)
extern "C" {

void *malloc(std::size_t size) noexcept
{
    count();
    return __libc_malloc(size);
}

void *calloc(std::size_t number, std::size_t size) noexcept
{
    count();
    return __libc_calloc(number, size);
}

void *realloc(void *memory, std::size_t size) noexcept
{
    count();
    return __libc_realloc(memory, size);
}

void *memalign(std::size_t alignment, std::size_t size) noexcept
{
    count();
    return __libc_memalign(alignment, size);
}

void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    count();
    return __libc_memalign(alignment, size);
}

int posix_memalign(void **memory, std::size_t alignment, std::size_t size) noexcept
{
    count();
    *memory = __libc_memalign(alignment, size);
    return *memory != nullptr ? 0 : ENOMEM;
}

} // extern "C"
#pragma GCC visibility pop
