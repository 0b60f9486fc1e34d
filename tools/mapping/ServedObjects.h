#pragma once

#include "MappingDatabase.h"
#include "MappingSource.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The numbers of an object identifier.
using Oid = std::vector<std::uint32_t>;

/// The numbers behind each period of a text, as the agent reads them: what is too large for 32 bits
/// is 4294967295.
[[nodiscard]] Oid numbersIn(const std::string &text);

/// ".1.3.6.1", as the SNMP clients print it.
[[nodiscard]] std::string oidText(const Oid &oid);

/// One name that a manager can ask for.
struct ServedInstance {
    Oid oid;
    /// None for row numbers: no device object stands behind them.
    std::optional<std::uint16_t> objId;
    /// 0 for scalars.
    std::uint8_t row = 0;
    ObjectNotes notes;
};

/// One scalar, or one column of a table. The first column of every table is its row number, which
/// the agent answers by itself.
struct ServedObject {
    /// Without the instance.
    Oid oid;
    /// What the agent goes by: for an id that scalars and cells share, the conversion is that of
    /// the scalar. Of a column, it is that of its first row.
    SnmpObjInfo info;
    ObjectNotes notes;
    /// Position in `ServedMapping::tables`; nothing for scalars.
    std::optional<std::size_t> table;
    std::uint32_t column = 0;
    /// In ascending order, never none.
    std::vector<ServedInstance> instances;

    [[nodiscard]] bool isRowNumber() const noexcept { return table && column == 1; }

    [[nodiscard]] bool isWritable() const noexcept;
};

struct ServedTable {
    TableNotes notes;
    Oid oid;
    /// The highest column that the agent serves.
    std::uint32_t lastColumn = 1;
};

/// What the names of a table's parts begin with: "port" for the table "portTable".
[[nodiscard]] std::string tableStem(const ServedTable &table);

/// What monitoring systems call the module: "sample_shelf_mib" for SAMPLE-SHELF-MIB. Letters,
/// digits and underscores, whatever the name.
[[nodiscard]] std::string metricsName(const ModuleNotes &module);

/// What the agent serves of a mapping, in the order of a walk, with a unique name for everything:
/// the author's, or one made from the mapping. Only the first two tables are served. Rows that the
/// device has but the mapping does not are not in it.
struct ServedMapping {
    ModuleNotes module;
    Oid base;
    /// Of every table.
    std::uint8_t rows = 0;
    std::vector<ServedTable> tables;
    std::vector<ServedObject> objects;
};

/// What one agent serves at most, and what an OID holds at most.
inline constexpr std::size_t servedTables = 2;
inline constexpr std::size_t longestOid = 128;
/// The two numbers of rows that a device can have.
inline constexpr std::uint8_t fewRows = 4;
inline constexpr std::uint8_t manyRows = 8;

struct ServedOptions {
    /// Dotted, with a leading period; empty: the module's, or the agent's default.
    std::string base;
    /// Rows of every table, as the device is configured; 0: 8 where the mapping has any row beyond
    /// the fourth, else 4.
    unsigned rows = 0;
};

/// The base that is stated, else the module's, else the agent's default. InputError when it is no
/// OID.
[[nodiscard]] std::string baseText(const ModuleNotes &module, const std::string &stated);

/// InputError for a base that is no OID.
[[nodiscard]] ServedMapping servedBy(const MappingDatabase &database, const ServedOptions &options);
