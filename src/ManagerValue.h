#pragma once

#include "DeviceValue.h"

#include <cstddef>
#include <cstdint>

/// Values at the boundary to the agent library: the values it answers with and the values of a set.
/// No length from either side is trusted. Nothing throws.
namespace managerValue
{
/// How many bytes of a converted text are served under a BER tag: all of them, but none if the tag
/// is one of the library's number types and the text exceeds the inline buffer, which the library
/// would overrun. It then answers 0, as for every length that it cannot use.
[[nodiscard]] std::size_t servedLength(std::uint8_t tag, const DeviceValue &value) noexcept;

/// Copies the integer at the start of a set value's bytes into the record; missing bytes count as
/// 0.
void takeInteger(const unsigned char *bytes, std::size_t length, DeviceValue &value) noexcept;

/// The length of a set value's text: up to a NUL, never more than was sent.
[[nodiscard]] std::size_t textLength(const unsigned char *bytes, std::size_t length) noexcept;

/// Copies the first 64 bytes of a set value's text into the record, whose `data` is cleared first.
void takeText(const unsigned char *bytes, std::size_t length, DeviceValue &value) noexcept;
} // namespace managerValue
