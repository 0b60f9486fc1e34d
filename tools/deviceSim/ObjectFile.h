#pragma once

#include "SimulatedDevice.h"

#include <cstdint>
#include <string>

/// Reads the objects, and the faults that hold from the start, of a simulated device from YAML.
/// What cannot be taken throws InputError with "file:line:column: reason"; nothing is guessed: an
/// unknown key, a second object of one id or a value out of range is an error.
namespace objectFile
{
/// `seed` makes the values that move by chance repeatable.
[[nodiscard]] SimulatedDevice read(const std::string &path, std::uint32_t seed = 1);

/// The same for a text; `name` stands for the file in errors, and recordings are looked for beside
/// it.
[[nodiscard]] SimulatedDevice parse(const std::string &text, const std::string &name,
                                    std::uint32_t seed = 1);
} // namespace objectFile
