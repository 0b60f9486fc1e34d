#pragma once

#include <cstddef>
#include <string>

/// Size limit of a file in bytes, far larger than any mapping.
inline constexpr std::size_t longestFile = std::size_t{64} << 20;

/// The bytes of a file; throws InputError if it cannot be read or is longer than `longestFile`.
[[nodiscard]] std::string readWholeFile(const std::string &path);
