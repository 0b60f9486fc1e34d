#pragma once

#include "MappingDatabase.h"
#include "ServedObjects.h"

#include <string>

/// The object file of tarnoDeviceSim for a mapping: the two objects that the agent reads at its
/// start, and every object of the mapping, as the source describes it or else of a kind and width
/// that its type and conversion suggest. Ids are those of the link.
namespace simulatorObjects
{
[[nodiscard]] std::string write(const MappingDatabase &database, const ServedOptions &options);
} // namespace simulatorObjects
