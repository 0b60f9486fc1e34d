#pragma once

#include "MappingDatabase.h"
#include "ServedObjects.h"

#include <cstdint>
#include <map>
#include <string>

/// An object of a device, as an object file describes it.
struct SimulatedObject {
    /// Complete; only the motion may be empty.
    DeviceNotes device;
    bool isWritable = false;
    std::string name;
    /// How many digits of a number are decimal places.
    unsigned places = 0;
};

using SimulatedObjects = std::map<std::uint16_t, SimulatedObject>;

/// The device objects for a mapping: the two that the agent reads at startup, and every object of
/// the mapping, as the source describes it or with a kind and width that suit its type and
/// conversion. Ids are those on the link.
namespace simulatorObjects
{
[[nodiscard]] SimulatedObjects of(const MappingDatabase &database, const ServedOptions &options);

/// The same as an object file of tarnoDeviceSim.
[[nodiscard]] std::string write(const MappingDatabase &database, const ServedOptions &options);
} // namespace simulatorObjects
