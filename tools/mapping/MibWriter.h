#pragma once

#include "ServedObjects.h"

#include <string>

/// The SMIv2 module of what the agent serves: tables with both index components that the agent
/// answers, the second as a not-accessible column after the served ones, textual conventions for
/// converted values, and conformance groups. Plain ASCII; other characters become question marks.
/// Throws InputError if the base is not below iso.
namespace mibWriter
{
[[nodiscard]] std::string write(const ServedMapping &served);
/// "Integer32 (0..255)", "DisplayString (SIZE (0..64))"
[[nodiscard]] std::string syntaxOf(const ServedObject &object);
} // namespace mibWriter
