#pragma once

#include <array>

/// What the tools keep in a mapping database beside what the agent reads: notes on objects, in
/// columns behind those that are read, and notes on the module and its tables.
namespace mappingSchema
{
/// Behind the columns that are read, in both tables.
inline constexpr std::array<const char *, 8> noteColumns{
    "name",       "description", "units",       "labels",
    "deviceKind", "deviceWidth", "deviceValue", "deviceMotion"};

/// What is known of the module (no subject) and of the tables (subject: the node), text by text.
inline constexpr const char *notesTable = "TARNO_MAPPING_NOTES";
inline constexpr std::array<const char *, 3> notesColumns{"subject", "property", "value"};
} // namespace mappingSchema
