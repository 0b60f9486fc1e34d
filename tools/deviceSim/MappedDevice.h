#pragma once

#include "SimulatedDevice.h"

#include <cstdint>
#include <string>

class MappingDatabase;

/// The simulated device of a mapping: every object as the source describes it, or as suits its type
/// and conversion.
namespace mappedDevice
{
/// `path` names the mapping in errors; recordings are in the same directory. Throws InputError with
/// the file, the object and the reason if a description is invalid, or if there is no object.
[[nodiscard]] SimulatedDevice of(const MappingDatabase &database, const std::string &path,
                                 std::uint32_t seed = 1);
} // namespace mappedDevice
