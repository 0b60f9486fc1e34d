#pragma once

#include <array>

/// What the tools store in a mapping database in addition to what the agent reads: notes on
/// objects, in extra columns, and notes on the module and its tables.
namespace mappingSchema
{
/// These follow the columns that the agent reads, in both tables.
inline constexpr std::array<const char *, 13> noteColumns{
    "name",         "description", "units", "labels", "deviceKind", "deviceWidth", "deviceValue",
    "deviceMotion", "monitoring",  "range", "since",  "status",     "until"};

/// Obsolete scalars, in the columns of those that the agent reads. Only if there are any.
inline constexpr const char *retiredTable = "TARNO_MAPPING_RETIRED";

/// One row per alarm. Only if there are any. Lists have one entry per line.
inline constexpr const char *alarmTable = "TARNO_MAPPING_ALARMS";
inline constexpr std::array<const char *, 13> alarmColumns{
    "name",     "number", "object", "condition", "raiseAt", "clearAt", "every",
    "severity", "text",   "along",  "since",     "status",  "until"};

/// One row per text about the module (empty subject), a table (subject: its node) or one of the
/// entries of a list of the module (subject: the name of the list).
inline constexpr const char *notesTable = "TARNO_MAPPING_NOTES";
inline constexpr std::array<const char *, 3> notesColumns{"subject", "property", "value"};
inline constexpr const char *revisionsSubject = "revisions";
inline constexpr const char *reservedSubject = "reserved";
inline constexpr const char *groupsSubject = "groups";
} // namespace mappingSchema
