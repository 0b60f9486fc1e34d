#pragma once

#include "ServedObjects.h"

#include <string>
#include <vector>

/// A configuration, and the alarms that it leaves out.
struct AlarmConfiguration {
    std::string text;
    std::vector<std::string> remarks;
};

/// The part of the master agent's configuration that makes it watch the alarms: for every row, a
/// monitor that raises and one that clears. Each gets its instance by itself, so that a value that
/// is missing for a while keeps its state. The user of these queries reads the module only, and has
/// no keys to log in with. Where notifications go is left to the operator.
namespace alarmsWriter
{
[[nodiscard]] AlarmConfiguration write(const ServedMapping &served);
} // namespace alarmsWriter
