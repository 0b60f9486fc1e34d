#pragma once

#include <cstddef>
#include <cstdint>

/// A decimal number in single precision: blanks, an optional '-', digits, and a fraction behind a
/// period. No exponent, no '+'. The rounding of each step is part of the contract: managers see it
/// in the values they set. A null text is 0.0. Where `end` is given, the position behind the last
/// consumed character goes there.
float parseDecimal(const char *text, const char **end = nullptr);

/// A whole number as `strtoul` reads it where a long has 32 bits, on every platform: blanks, a
/// sign, digits of the base, with base 16 an optional "0x" before them. A '-' negates modulo 2^32.
/// More than 32 bits are 4294967295, whatever the sign. A text without a number, or a null one, is
/// 0.
std::uint32_t parseUnsigned(const char *text, int base);

/// The decimal numbers behind each period of a text: ".1.3.6" gives 1, 3, 6 and "1.3.6" gives 3, 6.
/// Stores at most `capacity` of them, each as `parseUnsigned` reads it. Returns how many the text
/// holds, which may be more than were stored; -1 when `text` or `out` is null.
std::int32_t parseDottedNumbers(const char *text, std::uint32_t *out, std::size_t capacity);
