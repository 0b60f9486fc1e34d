#pragma once

#include "Findings.h"

#include <string>

/// Findings that an earlier check of the same mapping reported: only new ones matter.
namespace baseline
{
/// Marks findings that this file, the output of an earlier `check --json`, has as known, except
/// those accepted then. Throws InputError if the file is not such an output.
void apply(const std::string &path, Findings &findings);
} // namespace baseline
