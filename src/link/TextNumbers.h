#pragma once

#include <cstddef>
#include <cstdint>

/// Parses a decimal number in single precision: blanks, an optional '-', digits, and a fraction
/// after a period. No exponent, no '+'. The rounding of each step is part of the contract: managers
/// see it in the values they set. A null text gives 0.0. If `end` is given, it receives the
/// position after the last consumed character.
float parseDecimal(const char *text, const char **end = nullptr);

/// Parses an integer as `strtoul` does on a platform whose long has 32 bits: blanks, a sign, digits
/// of the base, with base 16 an optional "0x" before them. A '-' negates modulo 2^32. More than 32
/// bits give 4294967295, whatever the sign. A null text, or one without a number, gives 0.
std::uint32_t parseUnsigned(const char *text, int base);

/// Parses the decimal numbers after each period of a text: ".1.3.6" gives 1, 3, 6 and "1.3.6" gives
/// 3, 6. Stores at most `capacity` of them, each as `parseUnsigned` reads it. Returns how many the
/// text holds, which may be more than were stored; -1 if `text` or `out` is null.
std::int32_t parseDottedNumbers(const char *text, std::uint32_t *out, std::size_t capacity);
