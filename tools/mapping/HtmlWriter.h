#pragma once

#include "ServedObjects.h"

#include <string>

/// A reference page in HTML: every object with its type, range, units and labels, and the commands
/// that read and set it. One file that loads nothing, is complete without scripts and on paper, and
/// shows any text of the mapping as text.
namespace htmlWriter
{
[[nodiscard]] std::string write(const ServedMapping &served);
} // namespace htmlWriter
