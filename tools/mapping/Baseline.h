#pragma once

#include "Findings.h"

#include <string>

/// Findings that an earlier check of the same mapping reported: only new ones matter.
namespace baseline
{
/// Marks what is among the findings of an earlier `check --json` in this file, except what was
/// accepted then. Throws InputError if the file is not such an output.
void apply(const std::string &path, Findings &findings);
} // namespace baseline
