#pragma once

#include "SimulatedDevice.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The objects of a device as a user refers to them: by id or by name.
namespace deviceNames
{
/// An id, whether or not there is such an object, or the name of one object. Throws InputError for
/// any other word, with the name that was probably meant.
[[nodiscard]] std::uint16_t idOf(const SimulatedDevice &device, std::string_view word);

/// One line for each object: id, name and current value; a number with decimal places twice, as the
/// device stores it and with its point.
[[nodiscard]] std::string listOf(SimulatedDevice &device);
} // namespace deviceNames
