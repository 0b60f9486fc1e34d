#pragma once

#include "MappingDatabase.h"
#include "MappingSource.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The numbers of an object identifier.
using Oid = std::vector<std::uint32_t>;

/// The numbers after each period of a text, as the agent reads them: numbers that do not fit in 32
/// bits become 4294967295.
[[nodiscard]] Oid numbersIn(const std::string &text);

/// Whether all numbers of dotted numbers fit in 32 bits.
[[nodiscard]] bool fitsNumbers(std::string_view dotted);

/// ".1.3.6.1", as the SNMP clients print it.
[[nodiscard]] std::string oidText(const Oid &oid);

/// One instance that a manager can request.
struct ServedInstance {
    Oid oid;
    /// Nothing for row numbers: they have no device object.
    std::optional<std::uint16_t> objId;
    /// 0 for scalars.
    std::uint8_t row = 0;
    ObjectNotes notes;
};

/// One scalar, or one column of a table. Column 1 of every table is the row number, which the agent
/// answers by itself.
struct ServedObject {
    /// Without the instance.
    Oid oid;
    /// As the agent applies it: if a scalar and a cell share an id, the conversion of the scalar.
    /// For a column, that of its first row.
    SnmpObjInfo info;
    ObjectNotes notes;
    /// Position in `ServedMapping::tables`; nothing for scalars.
    std::optional<std::size_t> table;
    std::uint32_t column = 0;
    /// In ascending order, at least one if it is served.
    std::vector<ServedInstance> instances;

    [[nodiscard]] bool isRowNumber() const noexcept { return table && column == 1; }

    [[nodiscard]] bool isWritable() const noexcept;
    [[nodiscard]] bool isLabelledNumber() const noexcept;
    [[nodiscard]] bool isCounter() const noexcept;
    /// How many digits of the number, as it is served, are decimal places.
    [[nodiscard]] unsigned decimalPlaces() const;
    /// Whether its texts name the rows of its table.
    [[nodiscard]] bool isRowLabel() const noexcept;
};

struct ServedTable {
    TableNotes notes;
    Oid oid;
    /// The highest column that the agent serves.
    std::uint32_t lastColumn = 1;
};

/// The prefix of the names of a table's parts: "port" for the table "portTable".
[[nodiscard]] std::string tableStem(const ServedTable &table);

/// The name of the module in monitoring systems: "sample_shelf_mib" for SAMPLE-SHELF-MIB. Only
/// letters, digits and underscores.
[[nodiscard]] std::string metricsName(const ModuleNotes &module);

/// An alarm with its limits as numbers.
struct ServedAlarm {
    AlarmNotes notes;
    /// What raises it, in hundredths of what a manager reads: the limit, the value, or the numbers
    /// of the labels in ascending order. Nothing for `changed`.
    std::vector<std::int64_t> raise{};
    /// The limit of `above` or `below` that clears it, in hundredths.
    std::optional<std::int64_t> clear{};
};

/// What the agent serves from a mapping, in the order of a walk. Everything has a unique name, from
/// the author or generated. Only the first two tables are served. Rows of the device that the
/// mapping lacks are left out.
struct ServedMapping {
    ModuleNotes module;
    Oid base;
    /// The rows of every table.
    std::uint8_t rows = 0;
    std::vector<ServedTable> tables;
    std::vector<ServedObject> objects;
    /// Obsolete scalars, without instances: published, but not served.
    std::vector<ServedObject> retired{};
    /// Those whose objects and numbers make sense, obsolete ones too, in the order of their
    /// numbers.
    std::vector<ServedAlarm> alarms{};
};

/// The most tables that an agent serves, and the most numbers in an OID.
inline constexpr std::size_t servedTables = 2;
inline constexpr std::size_t longestOid = 128;
/// A device has one of these numbers of rows.
inline constexpr std::uint8_t fewRows = 4;
inline constexpr std::uint8_t manyRows = 8;

struct ServedOptions {
    /// Dotted, with a leading period; empty: that of the module, or the agent's default.
    std::string base;
    /// Rows of every table, as the device is configured; 0: 8 if the mapping has more than four,
    /// else 4.
    unsigned rows = 0;
};

/// The stated base, else that of the module, else the agent's default. Throws InputError if it is
/// not an OID.
[[nodiscard]] std::string baseText(const ModuleNotes &module, const std::string &stated);

/// Throws InputError if the base is not an OID.
[[nodiscard]] ServedMapping servedBy(const MappingDatabase &database, const ServedOptions &options);
