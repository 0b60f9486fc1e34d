#pragma once

#include "MappingDatabase.h"
#include "ServedObjects.h"

#include <cstdint>
#include <map>
#include <string>

/// An object of a device, as an object file describes it.
struct SimulatedObject {
    /// Everything is filled in; only the motion may be empty.
    DeviceNotes device;
    bool isWritable = false;
    std::string name;
};

using SimulatedObjects = std::map<std::uint16_t, SimulatedObject>;

/// What a device has for a mapping: the two objects that the agent reads at its start, and every
/// object of the mapping, as the source describes it or else of a kind and width that its type and
/// conversion suggest. Ids are those of the link.
namespace simulatorObjects
{
[[nodiscard]] SimulatedObjects of(const MappingDatabase &database, const ServedOptions &options);

/// The same as an object file of tarnoDeviceSim.
[[nodiscard]] std::string write(const MappingDatabase &database, const ServedOptions &options);
} // namespace simulatorObjects
