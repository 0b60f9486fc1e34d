#include "Allocations.h"

#include <cstddef>

namespace
{
// The C library's own functions, under names that this file may declare.
extern "C" void *libraryMalloc(std::size_t size) __asm__("__libc_malloc");
extern "C" void *libraryCalloc(std::size_t count, std::size_t size) __asm__("__libc_calloc");
extern "C" void *libraryRealloc(void *block, std::size_t size) __asm__("__libc_realloc");

thread_local std::uint64_t t_made = 0;
} // namespace

std::uint64_t allocations::ofThisThread() noexcept
{
    return t_made;
}

extern "C" {
void *malloc(std::size_t size) noexcept
{
    ++t_made;
    return libraryMalloc(size);
}

void *calloc(std::size_t count, std::size_t size) noexcept
{
    ++t_made;
    return libraryCalloc(count, size);
}

void *realloc(void *block, std::size_t size) noexcept
{
    ++t_made;
    return libraryRealloc(block, size);
}
}
