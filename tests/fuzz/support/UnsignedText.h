#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// The number at this position of the text, read digit by digit: what `parseUnsigned` must return.
[[nodiscard]] std::uint32_t unsignedAt(const std::string &text, std::size_t position, int base);
