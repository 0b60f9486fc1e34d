#pragma once

#include "MibReader.h"

#include <string>
#include <vector>

/// The part of a MIB that an agent can serve, as a mapping without object ids.
struct ImportedMib {
    MappingSource source;
    /// What the agent cannot serve, each with the reason, and what the source says differently.
    std::vector<std::string> remarks;
};

namespace mibImport
{
/// `base` replaces the OID of the module unless it is empty.
[[nodiscard]] ImportedMib import(const MibModule &module, const std::string &base);

/// What the MIB promises and this mapping does not serve: missing objects, and objects of another
/// type or with less access.
[[nodiscard]] std::vector<std::string> unserved(const MibModule &module,
                                                const ServedMapping &served);
} // namespace mibImport
