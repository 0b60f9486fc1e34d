#pragma once

#include "ServedObjects.h"

#include <string>
#include <vector>

/// One difference that a manager notices.
struct MappingChange {
    /// "added", "gone", "moved", "type", "access", "conversion", "syntax", "object", "rows",
    /// "name", "labels", "units" or "status" of an object, "module", "revision", or "group":
    /// objects that leave or join a conformance group. Of an alarm "added", "gone", "name",
    /// "objects", "alarm" (what raises it), "clear" or "status".
    std::string kind;
    /// Whether it breaks a manager of the old mapping.
    bool breaks = false;
    /// Its OID; if it is gone or moved, the old one. Of an alarm that of the notification.
    Oid oid;
    std::string name;
    std::string before;
    std::string after;
};

/// The differences between what the agent serves from two mappings, and between their modules, in
/// order of OIDs.
namespace mappingDiff
{
[[nodiscard]] std::vector<MappingChange> compare(const ServedMapping &before,
                                                 const ServedMapping &after);
[[nodiscard]] bool breaksManagers(const std::vector<MappingChange> &changes);
[[nodiscard]] std::string text(const std::vector<MappingChange> &changes);
[[nodiscard]] std::string json(const std::vector<MappingChange> &changes);
} // namespace mappingDiff
