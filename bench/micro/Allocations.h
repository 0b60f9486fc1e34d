#pragma once

#include <cstdint>

/// Counts the allocations of the whole program, those of the C libraries included: malloc, calloc
/// and realloc are replaced by ones that count and hand on.
namespace allocations
{
/// How many the calling thread has made so far.
[[nodiscard]] std::uint64_t ofThisThread() noexcept;
} // namespace allocations
