#pragma once

#include "ServedObjects.h"

#include <string>
#include <vector>

/// A module, and what its author should know: objects that it leaves out, and characters that it
/// cannot have.
struct PublishedMib {
    std::string text;
    std::vector<std::string> remarks;
};

/// The SMIv2 module of what the agent serves: tables with both index components that the agent
/// answers, the second as a not-accessible column far behind the served ones, textual conventions
/// for converted values, notifications of alarms, revisions and conformance groups. Plain ASCII.
/// Throws InputError if the base is not below iso.
namespace mibWriter
{
[[nodiscard]] PublishedMib write(const ServedMapping &served);
} // namespace mibWriter
