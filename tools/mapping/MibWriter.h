#pragma once

#include "ServedObjects.h"

#include <string>

/// The SMIv2 module of what the agent serves: tables with the two index components as the agent
/// answers them, the second in a not-accessible column above the served ones, textual conventions
/// for the converted values, and conformance. ASCII; other characters become question marks.
/// InputError for a base that has no name above it.
namespace mibWriter
{
[[nodiscard]] std::string write(const ServedMapping &served);
} // namespace mibWriter
