#pragma once

#include "SimulatedDevice.h"

#include <cstdint>
#include <string>

class MappingDatabase;

/// The simulated device of a mapping: every object as the mapping's source describes it, or else as
/// suits its type and conversion.
namespace mappedDevice
{
/// `path` names the mapping in errors, and recordings are looked for beside it. A description that
/// makes no object throws InputError with the file, the object and the reason.
[[nodiscard]] SimulatedDevice of(const MappingDatabase &database, const std::string &path,
                                 std::uint32_t seed = 1);
} // namespace mappedDevice
