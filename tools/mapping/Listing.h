#pragma once

#include "ServedObjects.h"

#include <string>

/// What the agent will serve, for people and for programs: one line or entry per scalar and column,
/// in the order of a walk.
namespace listing
{
/// Aligned columns under a heading; in colour, writable objects stand out.
[[nodiscard]] std::string table(const ServedMapping &served, bool inColour);
/// All objects, followed by every instance.
[[nodiscard]] std::string json(const ServedMapping &served);
[[nodiscard]] std::string csv(const ServedMapping &served);
} // namespace listing
