#pragma once

#include "Findings.h"
#include "MappingDatabase.h"

#include <string>

/// Checks a mapping database against all rules before it goes to a device.
/// `base` as in ServedOptions; throws InputError if it is not an OID.
[[nodiscard]] Findings check(const MappingDatabase &database, const std::string &base);

/// The same for the database of a source; findings have their places there.
[[nodiscard]] Findings check(const MappingDatabase &database, const SourcePlaces &places,
                             const std::string &base);
