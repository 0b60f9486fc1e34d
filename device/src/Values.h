#pragma once

#include "tarnodevice.h"

#include <cstdint>

/// An object's value as the bytes of a frame: numbers are little-endian, text and blocks have the
/// declared width, padded with zeros.
namespace tarno::values
{
/// The value and room for its bytes.
struct Room {
    tarno_value value{};
    /// One more than the widest, so that text ends.
    char data[TARNO_WIDEST + 1]{};
};

/// Calls the getter, or reads the variable. The value's bytes, as many as the object is wide, go to
/// `bytes` if the outcome is TARNO_DONE.
[[nodiscard]] tarno_outcome get(const tarno_object &object, Room &room, std::uint8_t *bytes);

/// Calls the setter with the value of the bytes, as many as the object is wide, or writes the
/// variable.
[[nodiscard]] tarno_outcome set(const tarno_object &object, Room &room, const std::uint8_t *bytes);
} // namespace tarno::values
