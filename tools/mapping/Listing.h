#pragma once

#include "ServedObjects.h"

#include <string>
#include <vector>

/// What the agent will serve, for people and for programs: one line or entry per scalar and column,
/// in the order of a walk.
namespace listing
{
/// Aligned columns under a heading; in colour, writable objects stand out. `values`, if there are
/// any, has a further column: one text for each object.
[[nodiscard]] std::string table(const ServedMapping &served, bool inColour,
                                const std::vector<std::string> &values = {});
/// All objects, followed by every instance.
[[nodiscard]] std::string json(const ServedMapping &served);
[[nodiscard]] std::string csv(const ServedMapping &served);

/// "1..8" for a column, empty for a scalar.
[[nodiscard]] std::string rowsText(const ServedObject &object);
/// "0x2100" or "0x2100..0x2107" if the ids are consecutive, else a list of them; empty for row
/// numbers.
[[nodiscard]] std::string objectsText(const ServedObject &object);
/// With the instance, unless it is a column.
[[nodiscard]] std::string shownOid(const ServedObject &object);
} // namespace listing
