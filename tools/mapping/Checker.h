#pragma once

#include "Findings.h"
#include "MappingDatabase.h"

#include <string>

/// Everything that is known to go wrong with a mapping database, found before a device has it.
/// `base` as for ServedOptions; InputError when it is no OID.
[[nodiscard]] Findings check(const MappingDatabase &database, const std::string &base);
