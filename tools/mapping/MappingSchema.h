#pragma once

#include <array>
#include <cstddef>

/// The tables of a mapping database. The agent reads the first thirteen columns of the two object
/// tables by position; the columns behind them and the notes table are for people and tools.
namespace mappingSchema
{
inline constexpr const char *scalarTable = "SNMP_GENERAL_OBJ_TABLE";
inline constexpr const char *cellTable = "SNMP_TABLE_OBJ_TABLE";
/// What is known of the module (no subject) and of the tables (subject: the node), text by text.
inline constexpr const char *notesTable = "TARNO_MAPPING_NOTES";

inline constexpr std::size_t columnsRead = 13;

enum class Reading { hexadecimal, decimal, text };

struct Column {
    const char *name;
    Reading reading;
    /// Width of the agent's field; 0 for texts.
    unsigned bits;
};

inline constexpr std::array<Column, columnsRead> scalarColumns{{
    {"objId", Reading::hexadecimal, 16},
    {"attr1", Reading::decimal, 8},
    {"magic", Reading::decimal, 8},
    {"asnType", Reading::hexadecimal, 16},
    {"access", Reading::hexadecimal, 16},
    {"oidArc1", Reading::decimal, 32},
    {"oidArc2", Reading::decimal, 32},
    {"oidArc3", Reading::decimal, 32},
    {"oidArc4", Reading::decimal, 32},
    {"valueType", Reading::hexadecimal, 16},
    {"flag", Reading::hexadecimal, 8},
    {"text", Reading::text, 0},
    {"attr2", Reading::hexadecimal, 16},
}};

inline constexpr std::array<Column, columnsRead> cellColumns{{
    {"objId", Reading::hexadecimal, 16},
    {"attr1", Reading::decimal, 8},
    {"columnId", Reading::decimal, 32},
    {"asnType", Reading::decimal, 16},
    {"access", Reading::decimal, 16},
    {"tableNode", Reading::text, 0},
    {"valueType", Reading::hexadecimal, 16},
    {"flag", Reading::hexadecimal, 8},
    {"text", Reading::text, 0},
    {"instance", Reading::decimal, 8},
    {"tableKind", Reading::decimal, 8},
    {"attr2", Reading::hexadecimal, 16},
    {"attr3", Reading::hexadecimal, 16},
}};

namespace scalarColumn
{
inline constexpr std::size_t objId = 0;
inline constexpr std::size_t asnType = 3;
inline constexpr std::size_t access = 4;
inline constexpr std::size_t oidArc1 = 5;
inline constexpr std::size_t oidArc4 = 8;
inline constexpr std::size_t valueType = 9;
inline constexpr std::size_t text = 11;
} // namespace scalarColumn

namespace cellColumn
{
inline constexpr std::size_t objId = 0;
inline constexpr std::size_t column = 2;
inline constexpr std::size_t asnType = 3;
inline constexpr std::size_t access = 4;
inline constexpr std::size_t tableNode = 5;
inline constexpr std::size_t valueType = 6;
inline constexpr std::size_t text = 8;
inline constexpr std::size_t instance = 9;
inline constexpr std::size_t tableKind = 10;
} // namespace cellColumn

/// Behind the columns that are read, in both tables.
inline constexpr std::array<const char *, 8> noteColumns{
    "name",       "description", "units",       "labels",
    "deviceKind", "deviceWidth", "deviceValue", "deviceMotion"};
inline constexpr std::array<const char *, 3> notesColumns{"subject", "property", "value"};
} // namespace mappingSchema
