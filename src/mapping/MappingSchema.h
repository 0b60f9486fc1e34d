#pragma once

#include "MappingRecords.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/// The two tables of objects in a mapping database. Columns are identified by position alone. Their
/// meaning is defined here once, for the agent, which loads them, and for the tools, which write
/// and check them.
namespace mappingSchema
{
inline constexpr const char *scalarTable = "SNMP_GENERAL_OBJ_TABLE";
inline constexpr const char *cellTable = "SNMP_TABLE_OBJ_TABLE";

/// How the text of a cell becomes the record's field. A carried text that is NULL repeats the last
/// one before it that is not.
enum class Reading { hexadecimal, decimal, text, carriedText };

struct Column {
    const char *name;
    Reading reading;
    /// Width of the record's field; 0 for texts.
    unsigned bits;
    /// Minimum number of hexadecimal digits that tools write.
    int digits;
};

/// A column and its field. The functions are null for texts; the text is null for numbers.
template <typename Record>
struct FieldColumn : Column {
    /// Truncates the number to the width of the field.
    void (*setNumber)(Record &, std::uint32_t);
    std::uint32_t (*number)(const Record &);
    std::string Record::*text;
};

template <typename Record, auto Field>
constexpr FieldColumn<Record> numberColumn(const char *name, Reading reading, int digits = 1)
{
    using Number = std::remove_reference_t<decltype(std::declval<Record &>().*Field)>;
    return {
        {name, reading, std::numeric_limits<Number>::digits, digits},
        [](Record &record, std::uint32_t number) { record.*Field = static_cast<Number>(number); },
        [](const Record &record) { return std::uint32_t{record.*Field}; },
        nullptr};
}

template <typename Record>
constexpr FieldColumn<Record> textColumn(const char *name, Reading reading,
                                         std::string Record::*field)
{
    return {{name, reading, 0, 0}, nullptr, nullptr, field};
}

inline constexpr std::size_t columnsRead = 13;

template <typename Record>
using Columns = std::array<FieldColumn<Record>, columnsRead>;

inline constexpr Columns<SnmpObjOid> scalarColumns{{
    numberColumn<SnmpObjOid, &SnmpObjOid::objId>("objId", Reading::hexadecimal, 4),
    numberColumn<SnmpObjOid, &SnmpObjOid::attr1>("attr1", Reading::decimal),
    numberColumn<SnmpObjOid, &SnmpObjOid::magic>("magic", Reading::decimal),
    numberColumn<SnmpObjOid, &SnmpObjOid::asnType>("asnType", Reading::hexadecimal),
    numberColumn<SnmpObjOid, &SnmpObjOid::access>("access", Reading::hexadecimal),
    numberColumn<SnmpObjOid, &SnmpObjOid::oidArc1>("oidArc1", Reading::decimal),
    numberColumn<SnmpObjOid, &SnmpObjOid::oidArc2>("oidArc2", Reading::decimal),
    numberColumn<SnmpObjOid, &SnmpObjOid::oidArc3>("oidArc3", Reading::decimal),
    numberColumn<SnmpObjOid, &SnmpObjOid::oidArc4>("oidArc4", Reading::decimal),
    numberColumn<SnmpObjOid, &SnmpObjOid::valueType>("valueType", Reading::hexadecimal, 4),
    numberColumn<SnmpObjOid, &SnmpObjOid::flag>("flag", Reading::hexadecimal),
    textColumn<SnmpObjOid>("text", Reading::carriedText, &SnmpObjOid::text),
    numberColumn<SnmpObjOid, &SnmpObjOid::attr2>("attr2", Reading::hexadecimal),
}};

/// Unlike those of scalars, type and access of cells are decimal.
inline constexpr Columns<SnmpTableOid> cellColumns{{
    numberColumn<SnmpTableOid, &SnmpTableOid::objId>("objId", Reading::hexadecimal, 4),
    numberColumn<SnmpTableOid, &SnmpTableOid::attr1>("attr1", Reading::decimal),
    numberColumn<SnmpTableOid, &SnmpTableOid::column>("columnId", Reading::decimal),
    numberColumn<SnmpTableOid, &SnmpTableOid::asnType>("asnType", Reading::decimal),
    numberColumn<SnmpTableOid, &SnmpTableOid::access>("access", Reading::decimal),
    textColumn<SnmpTableOid>("tableNode", Reading::text, &SnmpTableOid::tableNode),
    numberColumn<SnmpTableOid, &SnmpTableOid::valueType>("valueType", Reading::hexadecimal, 4),
    numberColumn<SnmpTableOid, &SnmpTableOid::flag>("flag", Reading::hexadecimal),
    textColumn<SnmpTableOid>("text", Reading::carriedText, &SnmpTableOid::text),
    numberColumn<SnmpTableOid, &SnmpTableOid::instance>("instance", Reading::decimal),
    numberColumn<SnmpTableOid, &SnmpTableOid::tableKind>("tableKind", Reading::decimal),
    numberColumn<SnmpTableOid, &SnmpTableOid::attr2>("attr2", Reading::hexadecimal),
    numberColumn<SnmpTableOid, &SnmpTableOid::attr3>("attr3", Reading::hexadecimal),
}};

/// The position of a column; an unknown name does not compile.
template <typename Record>
consteval std::size_t positionOf(const Columns<Record> &columns, std::string_view name)
{
    std::size_t position = 0;
    while (columns.at(position).name != name) {
        ++position;
    }
    return position;
}

namespace scalarPosition
{
inline constexpr std::size_t objId = positionOf(scalarColumns, "objId");
inline constexpr std::size_t text = positionOf(scalarColumns, "text");
} // namespace scalarPosition

namespace cellPosition
{
inline constexpr std::size_t column = positionOf(cellColumns, "columnId");
inline constexpr std::size_t tableNode = positionOf(cellColumns, "tableNode");
inline constexpr std::size_t text = positionOf(cellColumns, "text");
inline constexpr std::size_t instance = positionOf(cellColumns, "instance");
} // namespace cellPosition
} // namespace mappingSchema
