#pragma once

#include "ServedObjects.h"

#include <string>

/// What the agent will serve, for people and for programs: one line or entry for each scalar and
/// each column, in the order of a walk.
namespace listing
{
/// Aligned columns under a heading; with colour, what a manager can set stands out.
[[nodiscard]] std::string table(const ServedMapping &served, bool inColour);
/// All objects, and behind them every single instance.
[[nodiscard]] std::string json(const ServedMapping &served);
[[nodiscard]] std::string csv(const ServedMapping &served);
} // namespace listing
