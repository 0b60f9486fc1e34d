#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// The number from this position of the text on, read digit by digit: what `parseUnsigned` must
/// make of it.
[[nodiscard]] std::uint32_t unsignedAt(const std::string &text, std::size_t position, int base);
