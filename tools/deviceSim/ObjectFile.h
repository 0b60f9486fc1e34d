#pragma once

#include "SimulatedDevice.h"

#include <cstdint>
#include <string>

/// Reads the objects of a simulated device and its initial faults from YAML. Throws InputError with
/// "file:line:column: reason" for anything it cannot take: an unknown key, a duplicate object id, a
/// value out of range.
namespace objectFile
{
/// `seed` makes random values repeatable.
[[nodiscard]] SimulatedDevice read(const std::string &path, std::uint32_t seed = 1);

/// The same for a text; `name` is the file name in errors, and recordings are in its directory.
[[nodiscard]] SimulatedDevice parse(const std::string &text, const std::string &name,
                                    std::uint32_t seed = 1);
} // namespace objectFile
