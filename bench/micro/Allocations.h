#pragma once

#include <cstdint>

/// Counts the allocations of the whole program, including those in C libraries: replaces malloc,
/// calloc and realloc by functions that count and forward.
namespace allocations
{
/// The number of allocations that the calling thread has made so far.
[[nodiscard]] std::uint64_t ofThisThread() noexcept;
} // namespace allocations
