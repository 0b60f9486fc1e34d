#pragma once

#include <array>

/// What the tools store in a mapping database in addition to what the agent reads: notes on
/// objects, in extra columns, and notes on the module and its tables.
namespace mappingSchema
{
/// These follow the columns that the agent reads, in both tables.
inline constexpr std::array<const char *, 9> noteColumns{
    "name",        "description", "units",        "labels",    "deviceKind",
    "deviceWidth", "deviceValue", "deviceMotion", "monitoring"};

/// One row per text about the module (empty subject) or a table (subject: its node).
inline constexpr const char *notesTable = "TARNO_MAPPING_NOTES";
inline constexpr std::array<const char *, 3> notesColumns{"subject", "property", "value"};
} // namespace mappingSchema
