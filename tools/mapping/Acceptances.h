#pragma once

#include "Findings.h"

/// Findings that the author of a source expects: `accept` in an object accepts findings there, in a
/// table also those of its columns, in the module all.
namespace acceptances
{
/// Marks accepted findings with the reason, and reports every acceptance that no finding of `check`
/// needs.
void apply(const SourcePlaces &places, Findings &findings);
/// Only marks them: what `verify` finds depends on the device.
void mark(const SourcePlaces &places, Findings &findings);
} // namespace acceptances
