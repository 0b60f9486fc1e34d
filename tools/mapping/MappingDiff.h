#pragma once

#include "ServedObjects.h"

#include <string>
#include <vector>

/// One thing that a manager will notice between two mappings.
struct MappingChange {
    /// "added", "gone", "moved", "type", "access", "conversion", "object", "rows", "name" or
    /// "labels"
    std::string kind;
    /// Whether a manager that knows the old mapping breaks.
    bool breaks = false;
    /// Where it is, or was before it went.
    Oid oid;
    std::string name;
    std::string before;
    std::string after;
};

/// What changed between what the agent serves of two mappings, in the order of OIDs.
namespace mappingDiff
{
[[nodiscard]] std::vector<MappingChange> compare(const ServedMapping &before,
                                                 const ServedMapping &after);
[[nodiscard]] bool breaksManagers(const std::vector<MappingChange> &changes);
[[nodiscard]] std::string text(const std::vector<MappingChange> &changes);
[[nodiscard]] std::string json(const std::vector<MappingChange> &changes);
} // namespace mappingDiff
