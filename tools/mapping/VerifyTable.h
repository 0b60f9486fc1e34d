#pragma once

#include "DeviceReadings.h"
#include "ServedObjects.h"

#include <string>

/// What the device has answered, as a manager gets it: the list of `show` with a column of values,
/// separated by commas for the rows of a table.
namespace verifyTable
{
[[nodiscard]] std::string write(const ServedMapping &served, const DeviceReadings &readings,
                                bool inColour);
} // namespace verifyTable
